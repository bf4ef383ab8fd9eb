#include "radiometry/config/CorrectionSelection.h"

#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "radiometry/config/ExposureMetadata.h"

#include <algorithm>
#include <optional>

namespace tessik::radiometry {
namespace {

using Missing = ImageCorrectionError;

Missing flagIf(bool condition, Missing flag) {
    return condition ? flag : Missing::None;
}

/// What is missing for the sun angle, whichever orientation of the sensor is asked for.
Missing missingForSunAngle(const InputImage& image, bool orientationIsKnown) {
    return flagIf(!exif::hasSunIrradiance(image.exif), Missing::MissingSunIrradiance) |
           flagIf(!orientationIsKnown, Missing::MissingSunIrradianceOrientation) |
           flagIf(image.geo.captureTime == 0.0, Missing::MissingGeolocationValue);
}

} // namespace

bool hasRadiometricInfo(const ExifInfo& exif) {
    return isSensitivityValid(exif.sensitivity) || exif::hasSunIrradiance(exif);
}

CorrectionType guessRadiometricCorrectionTypeFromImage(const InputImage& image) {
    const ExifInfo& exif = image.exif;
    auto candidate = CorrectionType::CameraOnly;
    if (missingForSunAngle(image, exif::hasSunIrradianceRelativeOrientation(exif)) ==
        Missing::None) {
        candidate = CorrectionType::CameraSunIrradianceAndSunAngle;
    } else if (exif::hasSunIrradiance(exif)) {
        candidate = CorrectionType::CameraAndSunIrradiance;
    }
    const bool isCorrectable = exif.radiometricIndicator == ExifInfo::kIndicatorNotStated
                                   ? hasRadiometricInfo(exif)
                                   : exif.radiometricIndicator == 1;
    return isCorrectable ? candidate : CorrectionType::NoCorrection;
}

CorrectionType guessRadiometricCorrectionTypeFromImage(const std::vector<InputImage>& images,
                                                       std::size_t cameraId) {
    std::optional<CorrectionType> least;
    for (const InputImage& image : images) {
        if (image.cameraId == cameraId) {
            const CorrectionType guess = guessRadiometricCorrectionTypeFromImage(image);
            least = least ? std::min(*least, guess) : guess;
        }
    }
    return least.value_or(CorrectionType::NoCorrection);
}

ImageCorrectionError isInformationMissingForCorrection(const InputImage& image,
                                                       CorrectionType type) {
    const ExifInfo& exif = image.exif;
    if (!doIrradianceCorrection(type)) {
        return Missing::None;
    }
    if (!doSunAngleCorrection(type)) {
        return flagIf(!exif::hasSunIrradiance(exif), Missing::MissingSunIrradiance);
    }
    return missingForSunAngle(image,
                              type == CorrectionType::CameraSunIrradianceAndSunAngle
                                  ? exif::hasSunIrradianceRelativeOrientation(exif)
                                  : exif::hasSunIrradianceYawPitchRoll(exif));
}

} // namespace tessik::radiometry
