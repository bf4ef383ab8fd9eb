#pragma once

#include "simulate/Clouds.h"
#include "simulate/Course.h"
#include "simulate/Light.h"

namespace tessik::simulate {

/// Share of the irradiance on a surface that faces the sun under the whole sky that a turned one
/// receives: (1 - f) w + f max(0, cos incidence), f the direct fraction. It sees the part
/// w = 1/2 + sign(c) c^2 / 2 of the sky, c the cosine of its tilt.
double receivedShare(double directFraction, double cosIncidence, double cosTilt);

/// A sky with a sun, and an irradiance sensor that tilts with the aircraft. Without clouds level
/// ground receives
///   E(t) = P(t) (f sin(elevation) + 1 - f),
/// where P is a parabola in time, another one for each band, and f the direct fraction; without
/// drift and haze E is clearSkyIrradianceAt the sun's elevation when the flight begins. The sensor
/// receives P(t) receivedShare(f, ...). With clouds, P and f are those of the light that is left.
/// The sensor states what it receives, with noise in proportion, and derives the direct and the
/// scattered light from that, their ratio and its stated attitude.
class ClearSky final : public Light {
public:
    struct Options {
        double directFraction = 0.8; ///< in every band, or at 650 nm
        bool perBand = false;        ///< the direct fraction grows by 0.02 every 100 nm
        double drift = 1.0;          ///< times the seed's own drift of the light (8 .. 25 %)
        bool hasHaze = false;        ///< the seed changes total and direct fraction by up to 0.05
        Clouds::Kind clouds = Clouds::Kind::None;
        double sensorNoise = 0.01;   ///< standard deviation, as a share of the reading
        double sensorJitter = 0.0;   ///< the same, of what all bands of a capture share
        SensorMount mount;           ///< as the files state it
        double mountErrorRoll = 0.0; ///< the sensor is turned further about its own axes, degrees
        double mountErrorPitch = 0.0;
        double poseNoiseDegrees = 0.0; ///< standard deviation of the stated roll and pitch
        double sensorShade = 1.0;      ///< share of the direct light that reaches it on the ground
        double panelTiltDegrees = 0.0; ///< towards the sun
    };

    /// @param course one station for each capture
    ClearSky(std::uint64_t seed, const Options& options, const std::vector<Station>& course);

    [[nodiscard]] double irradiance(std::size_t capture, double wavelengthNm) const override;
    [[nodiscard]] double onPanel(std::size_t capture, double wavelengthNm) const override;
    [[nodiscard]] LightReading reading(std::size_t capture, double wavelengthNm) const override;

private:
    struct Moment {
        double progress = 0.0; ///< of the flight, 0 .. 1
        double seconds = 0.0;  ///< since the day began
        double sunAzimuthDegrees = 0.0;
        double sunElevationDegrees = 0.0;
        double sinElevation = 0.0;
        double shade = 1.0; ///< share of the direct light that reaches the sensor
        double jitter = 1.0;
        Attitude stated;
        double statedCosIncidence = 0.0;
        double statedCosTilt = 0.0;
        double cosIncidence = 0.0;
        double cosTilt = 0.0;
    };
    struct Parts {
        double direct = 0.0;  ///< on a surface that faces the sun, W/m2/nm
        double diffuse = 0.0; ///< on a level one, W/m2/nm
        [[nodiscard]] double facing() const { return direct + diffuse; }
        [[nodiscard]] double fraction() const { return facing() > 0.0 ? direct / facing() : 0.0; }
    };
    [[nodiscard]] Moment momentOf(const Station& station, std::size_t capture) const;
    [[nodiscard]] Parts parts(const Moment& moment, double wavelengthNm) const;
    [[nodiscard]] double clearFacing(const Moment& moment, double wavelengthNm) const;
    [[nodiscard]] double directFraction(double wavelengthNm) const;

    Options m_options;
    std::uint64_t m_seed;
    Clouds m_clouds;
    double m_total = 1.0;          ///< by haze
    double m_begin = 0.0;          ///< s
    double m_end = 0.0;            ///< s
    double m_firstElevation = 0.0; ///< of the sun when the flight begins, radians
    double m_linear = 0.0;         ///< change of P over the flight, as a share
    double m_quadratic = 0.0;      ///< change of P over the flight, as a share
    std::vector<Moment> m_moments;
};

} // namespace tessik::simulate
