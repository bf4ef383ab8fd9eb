#pragma once

/// @file
/// How far the images of a flight are corrected for the light, when nobody asks for a type: by what
/// the readings themselves show.

#include "flight/light/LightSeries.h"
#include "flight/light/RigLight.h"
#include "flight/light/Sunlight.h"

#include <string>
#include <vector>

namespace tessik::flight {

/// The type of a rig, and why.
struct RigType {
    radiometry::CorrectionType type = radiometry::CorrectionType::NoCorrection;
    std::string reason;
};

/// Chooses one type for all bands of each rig:
///
/// 1. What can be chosen is what the metadata of all its images carry: the reading as it is, or
///    levelled by the sensor's mount on the camera or by its own pose. Readings that the maker has
///    levelled are not levelled again.
/// 2. The one whose level light differs least between neighbouring captures; of those that
///    differ by less than 5 %, the richer one.
/// 3. With fewer than 12 captures there is nothing to compare: the richest that every image's
///    metadata support by the library's rule.
class TypeChoice {
public:
    /// All must outlive this.
    TypeChoice(const Flight& flight,
               const geo::ProjectCoordinateSystems& systems,
               const SunlightChoice& sunlight)
        : m_flight(flight), m_systems(systems), m_sunlight(sunlight) {}

    RigType choose(const Rig& rig, const LightSeries& series);

private:
    struct Candidate {
        radiometry::CorrectionType type;
        double unsteadiness;
    };
    [[nodiscard]] bool isSupported(const Rig& rig, radiometry::CorrectionType type) const;
    [[nodiscard]] radiometry::CorrectionType guess(const Rig& rig) const;
    [[nodiscard]] Candidate candidate(radiometry::CorrectionType type,
                                      const LightSeries& series,
                                      const Rig& rig,
                                      bool isOvercast) const;

    const Flight& m_flight;
    const geo::ProjectCoordinateSystems& m_systems;
    const SunlightChoice& m_sunlight;
};

} // namespace tessik::flight
