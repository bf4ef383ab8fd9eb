#pragma once

#include "simulate/Course.h"
#include "simulate/Light.h"

namespace tessik::simulate {

/// Share of the irradiance on a surface that faces the sun under the whole sky that a turned one
/// receives: (1 - f) w + f max(0, cos incidence), f the direct fraction. It sees the part
/// w = 1/2 + sign(c) c^2 / 2 of the sky, c the cosine of its tilt.
double receivedShare(double directFraction, double cosIncidence, double cosTilt);

/// A clear sky with a sun, and an irradiance sensor that tilts with the aircraft. On level ground
///   E(t) = P(t) (f sin(elevation) + 1 - f),
/// where P is a parabola in time, another one for each band, and f the direct fraction. The sensor
/// reads P(t) receivedShare(f, ...), with noise in proportion.
class ClearSky final : public Light {
public:
    struct Options {
        double directFraction = 0.8; ///< in every band, or at 650 nm
        bool perBand = false;        ///< the direct fraction grows by 0.02 every 100 nm
        double drift = 1.0;          ///< times the seed's own drift of the light (8 .. 25 %)
        double sensorNoise = 0.01;   ///< standard deviation, as a share of the reading
        SensorMount mount;
    };

    /// @param course one station for each capture
    ClearSky(std::uint64_t seed, const Options& options, const std::vector<Station>& course);

    [[nodiscard]] double irradiance(std::size_t capture, double wavelengthNm) const override;
    [[nodiscard]] LightReading reading(std::size_t capture, double wavelengthNm) const override;

private:
    struct Moment {
        double progress = 0.0; ///< of the flight, 0 .. 1
        double sunAzimuthDegrees = 0.0;
        double sunElevationDegrees = 0.0;
        double sinElevation = 0.0;
        Attitude sensor;
        double cosIncidence = 0.0;
        double cosTilt = 0.0;
    };
    [[nodiscard]] double facingIrradiance(const Moment& moment, double wavelengthNm) const;
    [[nodiscard]] double directFraction(double wavelengthNm) const;

    Options m_options;
    std::uint64_t m_seed;
    double m_linear = 0.0;    ///< change of P over the flight, as a share
    double m_quadratic = 0.0; ///< change of P over the flight, as a share
    std::vector<Moment> m_moments;
};

} // namespace tessik::simulate
