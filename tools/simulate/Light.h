#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessik::simulate {

/// What the irradiance sensor on top of the aircraft says of one capture in one band.
struct LightReading {
    double irradiance = 0.0;   ///< W/m2/nm
    double yawDegrees = 0.0;   ///< of the sensor
    double pitchDegrees = 0.0; ///< of the sensor
    double rollDegrees = 0.0;  ///< of the sensor
};

/// The light over a flight: a spectrum of clear sky that drifts, and clouds that come and go
/// between two captures.
class Light {
public:
    Light(std::uint64_t seed, std::size_t captureCount);

    /// Irradiance on the level ground, W/m2/nm.
    [[nodiscard]] double irradiance(std::size_t capture, double wavelengthNm) const;

    /// The sensor is level, and right.
    [[nodiscard]] LightReading reading(std::size_t capture, double wavelengthNm) const;

private:
    struct Moment {
        double clearSky = 1.0; ///< relative to the tabulated spectrum
        double cloud = 1.0;    ///< what clouds let through at 650 nm
    };
    std::vector<Moment> m_moments;
};

} // namespace tessik::simulate
