#pragma once

/// @file
/// Three witnesses tell how much light fell on a panel: the panel itself, the light sensor and the
/// clear sky. Where two contradict each other the third says which one to believe.

#include "flight/json/Json.h"
#include "flight/light/Project.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tessik::flight {

/// What they say of one band at one capture of a panel. Light on level ground; NaN = says nothing.
struct Witness {
    std::string path;
    double time = 0.0; ///< s since 1970-01-01 00:00 UTC
    std::uint64_t cameraId = 0;
    std::string cameraName;
    std::string bandName;
    double wavelengthNm = std::numeric_limits<double>::quiet_NaN();
    double sunElevationDeg = std::numeric_limits<double>::quiet_NaN();
    double clearSky = std::numeric_limits<double>::quiet_NaN(); ///< W/m2/nm
    double sensor = std::numeric_limits<double>::quiet_NaN();   ///< level reading, its own unit
    /// pi * radiance / reflectance, W/m2/nm, where the camera's unit is known.
    double panel = std::numeric_limits<double>::quiet_NaN();
    /// The sensor's unit is W/m2/nm.
    bool isAbsolute = false;
    /// The panel is tied to the light in flight, because the sensor was shaded beside it.
    bool isTied = false;
    std::string verdict; ///< a sentence for people; empty = the witnesses agree

    /// To the clear sky; NaN where either is not known.
    [[nodiscard]] double sensorRatio() const;
    [[nodiscard]] double panelRatio() const;
    [[nodiscard]] double panelToSensor() const;
};

Json toJson(const Witness& witness);
/// @throws std::runtime_error that names file, field and what is wrong
Witness witnessOf(const JsonReader& json);

/// What the witnesses of one capture of a rig come to.
struct Verdict {
    bool contradictsPanel = false;
    bool contradictsSensor = false;
    std::string text; ///< empty = they agree, or nothing can be said
};

/// The rules. Ratios are one a band, in order of wavelength; a band of which a witness says nothing
/// is left out.
///
/// 1. Panel over sensor between 0.85 and 1.15 (median of the bands): they agree, and nothing is
/// said
///    against either; the sky is known less well than that.
/// 2. A panel that has more than 1.15 of a clear sky's light, in all bands alike (within 25 %), was
///    tilted to the sun: no sky gives level ground so much.
/// 3. A sensor below the panel, or below 0.9 of a clear sky, that falls behind by 8 % or more from
///    the shortest to the longest wavelength misses direct light: it was shaded. Clouds do not
///    count: both witnesses below 0.55 of the clear sky say overcast, and then the sky cannot tell
///    which one is right.
/// 4. A panel below 0.85 of a sensor that the sky supports lay in a shadow, or is dirty.
Verdict judge(const std::vector<Witness>& bands);

/// Puts the panels of a flight before the witnesses. A sensor that was shaded at a panel is
/// replaced by the light of the captures next to it in time, where the panel agrees with that
/// better; a panel that is contradicted is not used where the sensor is supported by the sky and
/// the maker's constant can take its place.
/// @param all what was found in the images of `flight`; targets are changed
std::vector<Witness> hearWitnesses(const Flight& flight,
                                   const Project& project,
                                   radiometry::TargetCalibration& all,
                                   Warnings& warnings);

} // namespace tessik::flight
