#pragma once

/// @file
/// How far off a reflectance may be, term by term. docs/light.md says where each number comes from.

#include "flight/light/Project.h"
#include "flight/target/RigTargets.h"
#include "flight/target/Sensitivity.h"

#include <map>
#include <vector>

namespace tessik::flight {

/// Relative standard error of what one panel says, without that of its stated reflectance, which
/// panels of a flight share: the light beside it, and its own spread.
/// @param witnesses of the panels: they say which ones are tied to the light in flight
double panelError(const InputImage& image,
                  const radiometry::MeasuredTarget& target,
                  const Project& project,
                  const std::vector<Witness>& witnesses);

using UncertaintyByCamera = std::map<std::uint64_t, std::vector<BandUncertainty>>;

/// Of each band of the cameras that have a sensitivity.
/// @param measured in the images of `flight`
UncertaintyByCamera uncertaintiesOf(const Flight& flight,
                                    const Project& project,
                                    const RigCalibration& measured,
                                    const SensitivityByCamera& sensitivities);

} // namespace tessik::flight
