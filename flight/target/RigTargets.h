#pragma once

/// @file
/// Targets of a flight whose cameras fly in rigs. The ratio of two bands is right only when both
/// were measured on the same panel in the same light, so the bands of a rig have one source.

#include "flight/light/Project.h"
#include "flight/target/Witnesses.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"

#include <functional>
#include <memory>
#include <vector>

namespace tessik::flight {

using Detectors = std::vector<std::unique_ptr<target::ITargetDetector>>;

/// The part of a flight that is looked into for targets: some images of each camera, and all bands
/// of their captures.
Flight targetImages(Flight flight, const Project& project);

struct RigTargetOptions {
    /// Where no capture shows a usable target in every band of its rig, keep what there is: for
    /// somebody who measures a panel, not for a flight.
    bool mayBePartial = false;
    std::function<std::vector<double>(const InputImage&, const target::DetectedTarget&)>
        knownReflectance{};
    int jobs = 1;
};

/// What was measured, and what panel, light sensor and clear sky say of the light there.
struct RigCalibration : radiometry::TargetCalibration {
    std::vector<Witness> witnesses;
};

/// Looks into all images. Beyond the rule of a single camera:
///
/// 1. All detectors are asked of each image. Where a panel's code is read in one band of a capture
///    and not in another, it is looked for again in the other band, near the place where it must
///    lie.
/// 2. A capture counts for a rig only when each of its bands has a usable target in it.
/// 3. One detector serves all captures where that is possible, so that all are measured by squares
///    of one size; else the one that serves most captures, and others where it fails, with a
///    warning.
///
/// @param detectors in order of preference
/// @return targets that were chosen, and those that cannot be used; not those that another detector
/// found in the same images
RigCalibration calibrateRigs(const Flight& flight,
                             const Project& project,
                             const Detectors& detectors,
                             const RigTargetOptions& options,
                             Observer& observer,
                             Warnings& warnings);

} // namespace tessik::flight
