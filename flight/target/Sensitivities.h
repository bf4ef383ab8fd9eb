#pragma once

#include "flight/light/Project.h"
#include "flight/target/SensitivityFile.h"
#include "flight/target/StatedTarget.h"
#include "flight/target/TargetRecord.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// The sensitivity of one camera's bands, and where it comes from.
struct Sensitivity {
    std::vector<double> values; ///< one a band
    std::string kind;           ///< "target", "maker", "file"
    std::string text;           ///< a line for people
};

/// By camera identifier; no entry = not known.
using SensitivityByCamera = std::unordered_map<std::uint64_t, Sensitivity>;

/// What the cameras of a flight are calibrated by.
struct Sensitivities {
    SensitivityByCamera byCamera;
    std::vector<TargetRecord> targets; ///< that were found, used or not
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
radiometry::TargetCalibration calibrate(const Flight& flight,
                                        const Project& project,
                                        const StatedTarget& stated,
                                        int jobs,
                                        Observer& observer);

/// What was measured, as a file holds it: the cameras that have a sensitivity.
SensitivityFile sensitivityFile(const radiometry::TargetCalibration& result,
                                const Flight& flight,
                                const Project& project);

} // namespace tessik::flight
