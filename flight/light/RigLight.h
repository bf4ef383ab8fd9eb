#pragma once

/// @file
/// The light over a flight as the sensor of one rig tells it: what kind of sky it was, which way of
/// levelling makes the readings agree, and the light without the sensor's tilt and jitter.

#include "flight/light/Levelling.h"
#include "flight/light/LightSeries.h"
#include "flight/light/Sunlight.h"

#include <Eigen/Core>

#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

enum class SkyState {
    Unknown,
    Clear,
    Broken,   ///< clouds pass before the sun
    Overcast, ///< the sun does not come through
};

/// "unknown", "clear", "broken" or "overcast".
std::string wordOf(SkyState state);
/// The reverse; Unknown for anything else.
SkyState skyStateOf(const std::string& word);

/// The state of the sky, with the values that it follows from, for people.
struct SkyVerdict {
    SkyState state = SkyState::Unknown;
    std::string reason;
    /// Why no image may be divided by these readings; empty = they may be true.
    std::string refusal;
};

/// By rules that docs/light.md explains. Readings in W/m2/nm are compared with the clear sky, and
/// refused where they are more than twice as much, which only a wrong unit explains; others tell of
/// passing clouds only.
/// @param views by the sensor's best known pose, one a capture; all absent = none is known
SkyVerdict skyOf(const LightSeries& series, const SensorViews& views);

/// The state of the sky over a rig's captures, by the best pose of the sensor that is known.
SkyVerdict skyOver(const LightSeries& series,
                   const Flight& flight,
                   const geo::ProjectCoordinateSystems& systems);

enum class LightChoice { Steady, Raw };

/// The light of one rig, levelled and steadied.
struct RigLight {
    Rig cameras;
    SkyVerdict sky;
    radiometry::CorrectionType type = radiometry::CorrectionType::NoCorrection;
    std::string typeReason;
    /// Jitter of the level light, relative, common to all bands: as read, and as used.
    std::optional<double> jitterRaw;
    std::optional<double> jitterSteady;
    /// How the sensor's true normal leans from the stated one; absent = not fitted.
    std::optional<Lean> mount;
    bool isSteady = false;

    /// In memory only, while a plan is made.
    LightSeries series;
    Eigen::ArrayXXd used;          ///< light on level ground, captures x bands, the sensor's unit
    Eigen::ArrayXXd standardError; ///< of it, relative
    Eigen::ArrayXXd levelling;     ///< level light / reading as the library corrects it
};

/// Levels and steadies the readings of a rig.
/// @param type that its images are corrected with
/// @param sunlight of each band; needed for the sun-angle types
RigLight lightOf(LightSeries series,
                 const Flight& flight,
                 radiometry::CorrectionType type,
                 const Sunlight& sunlight,
                 const geo::ProjectCoordinateSystems& systems,
                 LightChoice choice);

/// Puts the readings that give the light in use into the images, in place of those that were read.
void useLight(const std::vector<RigLight>& lights, Flight& flight);

} // namespace tessik::flight
