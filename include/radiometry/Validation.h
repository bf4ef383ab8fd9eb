#pragma once

/// @file
/// Before the images of a project are corrected: does every camera have a correction type, and
/// every image what that type needs? May it be corrected at all? All functions are thread safe.

#include "platform/camera/CamerasData.h"
#include "platform/camera/CorrectionError.h"
#include "radiometry/Types.h"

#include <QtCore/QString>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik {

struct InputImage;
namespace geo {
class OutCoordSystem;
struct SiteCalibration;
} // namespace geo

namespace radiometry::sequoia {
struct ModelParameter;
} // namespace radiometry::sequoia

namespace text {
/// "no correction", "camera", "camera and sun irradiance", ...
RADIOMETRY_EXPORT QString toString(radiometry::CorrectionType type);
} // namespace text

namespace radiometry {

/// Gives each camera that has no settings the richest type that its images support. Settings that
/// are there stay as they are.
RADIOMETRY_EXPORT void
verifyValidRadiometricSettings(const CamerasData& cameras,
                               const std::vector<InputImage>& images,
                               std::unordered_map<std::size_t, Settings>& settings);

/// What the enabled images of a camera lack for a type.
RADIOMETRY_EXPORT CorrectionError getCorrectionError(const std::vector<InputImage>& images,
                                                     const geo::OutCoordSystem& output,
                                                     const geo::SiteCalibration& site,
                                                     std::size_t cameraId,
                                                     CorrectionType type);

/// Every camera has settings, an enabled image, and images that lack nothing. Logs the first camera
/// of which that is not true; those after it are not looked at (promised: docs/contract.md,
/// first-camera).
RADIOMETRY_EXPORT bool
haveAllInformationForCorrection(const CamerasData& cameras,
                                const std::vector<InputImage>& images,
                                const std::unordered_map<std::size_t, Settings>& settings,
                                const geo::OutCoordSystem& output,
                                const geo::SiteCalibration& site);

/// Why an image must not be corrected, because the numbers would only look right: it is corrected
/// already, a model lacks what it needs, the light was not measured. For types below the least
/// correction only what is corrected already is refused.
/// @param sequoiaModel parameters of this Sequoia band, or null
/// @return a text for people, without the image's path; empty = nothing speaks against it
RADIOMETRY_EXPORT std::string whyNotToCorrect(const InputImage& image,
                                              CorrectionType type,
                                              const sequoia::ModelParameter* sequoiaModel);

} // namespace radiometry
} // namespace tessik
