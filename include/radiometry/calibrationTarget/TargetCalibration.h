#pragma once

/// @file
/// The sensitivity of each camera of a project, from the reflectance targets in its images.
///
/// Targets are photographed before the flight, after it, or both. So the images that are searched
/// are the first and last ones of each camera, and those that the camera marked as taken of a
/// target; a flight may have thousands of images, of which no other is opened.
///
/// In each of them the detectors are asked in turn; the first that finds a target decides. The
/// reflectance of a target is, band by band, what the caller knows, else what the target itself
/// says, else what is stored under its type and identifier.
///
/// The rule by which a camera's sensitivity is chosen:
///
/// 1. A target is not used when it cannot be measured (undefined reflectance, region outside the
///    image, image that cannot be corrected), has fewer than 3 valid pixels or more than 5 %
///    invalid ones (saturated, or dark), or a mean that is not positive.
/// 2. Nor when it is uneven: standard deviation above 5 % of the mean in any band. A panel shows
///    about 2 %, noise included; what is more is a shadow, a reflection, dirt or a region that
///    leaves the panel.
/// 3. The sensitivity is the mean of those of the targets that are left, band by band. The mean,
///    because targets before and after the flight bracket the drift of what the correction does not
///    see (irradiance sensor, thin clouds): the largest error is then half of that of either, and
///    noise is averaged where nothing drifts.
///
/// Two things are worth a warning and change nothing: targets of a camera that differ by more than
/// 5 % in a band, which says that the light between them was not followed; and a spread above 0.03
/// in reflectance.

#include "platform/camera/BandInfo.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/TargetDetector.h"
#include "radiometry/calibrationTarget/MeasuredTarget.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/Types.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry {

/// An image that was searched for targets.
struct TargetCandidate {
    std::size_t imageIndex = 0;       ///< in the request's images
    std::size_t targetCount = 0;      ///< found in it, used or not
    QString failure;                  ///< why it could not be looked into; empty = it could
    std::vector<std::string> remarks; ///< what the detectors saw and could not use
};

/// What was found in a project's images, and what its cameras are calibrated by.
struct TargetCalibration {
    std::map<std::uint64_t, CameraCalibration> cameras; ///< every camera of the project
    std::vector<MeasuredTarget> targets;                ///< used or not
    std::vector<TargetCandidate> candidates;
    std::vector<std::string> warnings; ///< logged already
};

/// What a project is calibrated from. What is referred to must outlive the call.
struct TargetCalibrationRequest {
    const std::vector<InputImage>& images;
    const CamerasData& cameras;
    const geo::ProjectCoordinateSystems& coordinateSystems;
    /// Those that the images are then corrected with; cameras without are left out.
    const std::unordered_map<std::size_t, Settings>& settingsByCamera;
    /// For the cameras of the sun-angle types.
    const std::map<BandInfo, double>& directSunlightFraction;
    /// By camera; a camera without an entry has no model.
    const std::unordered_map<std::uint64_t, sequoia::ModelParameter>& sequoiaModels;
    const std::vector<std::unique_ptr<target::ITargetDetector>>& detectors;

    /// Ask all detectors of every image, in place of stopping at the first that finds a target: who
    /// calibrates several cameras together then chooses one that works for all of them.
    bool askEveryDetector = false;
    /// Search every enabled image, in place of the rule.
    bool useAllImages = false;
    /// How many of the first, and of the last, images of a camera are searched.
    std::size_t imagesPerEnd = 1;
    /// Called with each candidate before it is opened: completes its metadata, or throws where the
    /// image must not be corrected. May be empty.
    std::function<void(InputImage&)> prepare{};
    /// Reflectance that the caller knows better than the target: one value a band, NaN where it
    /// does not, or nothing at all. Throws to refuse the target. May be empty.
    std::function<std::vector<double>(const InputImage&, const target::DetectedTarget&)>
        knownReflectance{};
};

/// Indices of the images that are searched: of each camera in time the first and the last ones,
/// those whose camera says that they show a target, or all.
RADIOMETRY_EXPORT std::vector<std::size_t>
targetCandidates(const TargetCalibrationRequest& request);

/// Searches the images and measures the targets in them, by rules 1 and 2.
/// @return targets and candidates; no camera has a sensitivity yet
/// Never throws for a bad image or target: the result tells.
RADIOMETRY_EXPORT TargetCalibration findTargets(const TargetCalibrationRequest& request);

/// Gives each camera its sensitivity from the targets that are used, by rule 3. Logs as
/// calibrateFromTargets.
RADIOMETRY_EXPORT void chooseSensitivities(const CamerasData& cameras, TargetCalibration& result);

/// Does both. Never throws for a bad image or target: the result tells. Logs "Automatic radiometric
/// calibration of camera '..' using '..'", or "No valid radiometric calibration target for camera
/// '..'". Runs on the caller's thread.
RADIOMETRY_EXPORT TargetCalibration calibrateFromTargets(const TargetCalibrationRequest& request);

} // namespace tessik::radiometry
