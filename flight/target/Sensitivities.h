#pragma once

#include "flight/light/Project.h"
#include "flight/target/PanelErrors.h"
#include "flight/target/RigTargets.h"
#include "flight/target/Sensitivity.h"
#include "flight/target/SensitivityFile.h"
#include "flight/target/StatedTarget.h"
#include "flight/target/TargetRecord.h"
#include "flight/target/Witnesses.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"

#include <string>
#include <vector>

namespace tessik::flight {

/// What the cameras of a flight are calibrated by.
struct Sensitivities {
    SensitivityByCamera byCamera;
    std::vector<TargetRecord> targets; ///< that were found, used or not
    std::vector<Witness> witnesses;    ///< of the light at each panel
    UncertaintyByCamera uncertainties;
    std::vector<Warning> warnings;
};

/// By what the user asked for.
/// @param flight those images that are looked into for targets, at least one of each camera
/// @param source "auto" = targets in the images, or the maker's constant where no target was found;
/// "none" = neither; else a file of sensitivities
/// @throws std::runtime_error when the file cannot be used
Sensitivities decideSensitivities(const Flight& flight,
                                  const Project& project,
                                  const std::string& source,
                                  int jobs,
                                  Observer& observer);

/// Measures the targets in all images of a flight.
/// @throws std::runtime_error as verify
RigCalibration calibrate(const Flight& flight,
                         const Project& project,
                         const StatedTarget& stated,
                         int jobs,
                         Observer& observer);

/// What was measured, as a file holds it: the cameras that have a sensitivity.
SensitivityFile sensitivityFile(const radiometry::TargetCalibration& result,
                                const Flight& flight,
                                const Project& project);

} // namespace tessik::flight
