#pragma once

#include "simulate/Attitude.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tessik::simulate {

/// What a reading was made from, where the sun itself is simulated. Angles are in degrees.
struct SunView {
    double directFraction = 0.0;      ///< of what a surface that faces the sun receives
    double facingIrradiance = 0.0;    ///< what such a surface under the whole sky receives, W/m2/nm
    double sunAzimuthDegrees = 0.0;   ///< from north, clockwise
    double sunElevationDegrees = 0.0; ///< refraction included
    double cosIncidence = 0.0;        ///< of the sun on the sensor; negative = behind it
    double cosTilt = 1.0;             ///< of the sensor
    double transmittance = 1.0;       ///< of clouds, for direct light
    double statedDirect = 0.0;        ///< on a surface that faces the sun, as the sensor has it
    double statedScattered = 0.0;     ///< on a level one, as the sensor has it
};

/// What the irradiance sensor on top of the aircraft states for one capture in one band.
struct LightReading {
    double irradiance = 0.0; ///< W/m2/nm
    Attitude attitude;       ///< of the sensor, as it is stated
    std::optional<SunView> sun;
    double error = 1.0;    ///< the irradiance is this many times what the sensor received
    double received = 0.0; ///< W/m2/nm
    double level = 0.0;    ///< what a level surface receives, as the sensor has it, W/m2/nm
};

/// The light over a flight.
class Light {
public:
    Light() = default;
    Light(const Light&) = delete;
    Light& operator=(const Light&) = delete;
    virtual ~Light() = default;

    /// Irradiance on the level ground, W/m2/nm.
    [[nodiscard]] virtual double irradiance(std::size_t capture, double wavelengthNm) const = 0;
    /// Irradiance on a panel that lies on the ground, W/m2/nm.
    [[nodiscard]] virtual double onPanel(std::size_t capture, double wavelengthNm) const {
        return irradiance(capture, wavelengthNm);
    }
    [[nodiscard]] virtual LightReading reading(std::size_t capture, double wavelengthNm) const = 0;
};

/// Irradiance on level ground under a high sun and a clear sky at sea level, rounded, W/m2/nm.
double clearSkyIrradiance(double wavelengthNm);

/// The light of a clear sky that drifts, with clouds that come and go between two captures.
class ChangingLight final : public Light {
public:
    ChangingLight(std::uint64_t seed, std::size_t captureCount);

    [[nodiscard]] double irradiance(std::size_t capture, double wavelengthNm) const override;
    /// The sensor is level and exact.
    [[nodiscard]] LightReading reading(std::size_t capture, double wavelengthNm) const override;

private:
    struct Moment {
        double clearSky = 1.0; ///< relative to the tabulated spectrum
        double cloud = 1.0;    ///< what clouds let through at 650 nm
    };
    std::vector<Moment> m_moments;
};

} // namespace tessik::simulate
