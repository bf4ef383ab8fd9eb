#pragma once

#include "platform/image/DataType.h"
#include "radiometry/core/Types.h"

#include <cstddef>
#include <vector>

namespace tessik::radiometry {

/// The metadata allow some radiometric correction: a valid sensitivity or an irradiance reading.
RADIOMETRY_EXPORT bool hasRadiometricInfo(const ExifInfo& exif);

/// The richest correction that an image's metadata support.
RADIOMETRY_EXPORT CorrectionType guessRadiometricCorrectionTypeFromImage(const InputImage& image);

/// The richest correction that all images of a camera support; NoCorrection when it has none.
RADIOMETRY_EXPORT CorrectionType guessRadiometricCorrectionTypeFromImage(
    const std::vector<InputImage>& images, std::size_t cameraId);

/// What an image lacks for a type. Types above 3 take the irradiance sensor's own yaw, pitch and
/// roll in place of its orientation relative to the camera.
RADIOMETRY_EXPORT ImageCorrectionError isInformationMissingForCorrection(const InputImage& image,
                                                                         CorrectionType type);

} // namespace tessik::radiometry
