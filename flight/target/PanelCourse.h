#pragma once

#include "flight/light/Project.h"
#include "flight/target/RigTargets.h"
#include "flight/target/Sensitivity.h"

namespace tessik::flight {

/// Sensitivities from panels that were photographed at different times. Panels within two minutes
/// count as one. Where those before and after a flight differ by more than twice their errors, in
/// the median of a rig's bands, the camera or its light sensor drifted: the sensitivity is
/// interpolated in time, in all bands of the rig, since their ratios have to stay right. Else it is
/// their mean, weighted by their errors.
/// @param measured in the images of `flight`
/// @param sensitivities of the cameras that have one by these panels; they are changed
void followPanels(const Flight& flight,
                  const Project& project,
                  const RigCalibration& measured,
                  SensitivityByCamera& sensitivities);

} // namespace tessik::flight
