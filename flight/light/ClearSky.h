#pragma once

/// @file
/// The spectral irradiance of a clear sky, as a witness of what a light sensor reads. R. Bird and
/// C. Riordan, "Simple solar spectral model for direct and diffuse irradiance on horizontal and
/// tilted planes at the earth's surface for cloudless atmospheres", J. Climate Appl. Meteor. 25
/// (1986) 87-97. The fraction of direct sunlight that images are corrected with does not come from
/// here.

#include "platform/camera/BandInfo.h"

#include <vector>

namespace tessik::flight {

/// What the light passes. The defaults are a standard atmosphere with moderate haze.
struct Atmosphere {
    double pressurePa = 101325.0;
    double waterCm = 1.42;         ///< precipitable
    double ozoneAtmCm = 0.34;      ///< as a layer at the ground
    double opticalDepth500 = 0.27; ///< of the aerosol, at 500 nm
    double angstromExponent = 1.14;
    double groundReflectance = 0.2;
};

/// Irradiance on level ground, W/m2/nm.
struct SkyLight {
    double direct = 0.0;
    double diffuse = 0.0;

    [[nodiscard]] double level() const { return direct + diffuse; }
};

/// A clear sky for one place of the sun. A sun at or below the horizon gives no light.
class ClearSky {
public:
    /// @param sunElevation rad, refraction included
    /// @param dayOfYear 1..366, for the distance of the sun
    ClearSky(double sunElevation, int dayOfYear, const Atmosphere& atmosphere = {});

    /// At one wavelength, between 300 and 4000 nm; none beyond.
    [[nodiscard]] SkyLight at(double wavelengthNm) const;
    /// The mean over a band's width.
    [[nodiscard]] SkyLight over(const BandInfo& band) const;

private:
    std::vector<SkyLight> m_spectrum; ///< at the table's wavelengths
};

/// Pressure at a height above the sea, m, in a standard atmosphere, Pa.
double standardPressure(double heightM);

/// 1 on the first of January, of a time in s since 1970-01-01 00:00 UTC.
int dayOfYear(double unixTime);

} // namespace tessik::flight
