#pragma once

#include "Flight.h"
#include "Plan.h"

namespace tessik::app {

/// A request for the calibration of a flight, which refers to its arguments. Images are completed
/// from their pixels, and refused where they must not be corrected.
/// @param settings of the cameras that are to be calibrated
radiometry::TargetCalibrationRequest
targetRequest(const Flight& flight,
              const Project& project,
              const SettingsByCamera& settings,
              const std::vector<std::unique_ptr<target::ITargetDetector>>& detectors);

/// Drops all images but those that are looked into for targets: some of each camera, and all bands
/// of their captures.
void keepTargetCandidates(const Project& project, Flight& flight);

/// The sensitivity of each camera, by what the user asked for: targets in the images, a file, or
/// the maker's constant where no target was found. What is odd is said.
/// @throws std::runtime_error when the file cannot be used
void decideSensitivity(const Flight& flight, const PlanOptions& options, Plan& plan);

} // namespace tessik::app
