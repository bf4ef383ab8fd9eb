#include "radiometry/config/ExposureMetadata.h"

#include "core/Fail.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "radiometry/config/Gamma.h"

#include <algorithm>
#include <cmath>

namespace tessik::radiometry {
namespace {

/// A NaN is not positive either.
double positiveOrOne(double value) {
    return value > 0.0 ? value : 1.0;
}

} // namespace

double readExposure(const ExifInfo& exif) {
    return positiveOrOne(exif.exposureTime);
}

double readIso(const ExifInfo& exif) {
    return positiveOrOne(static_cast<double>(exif.iso));
}

double readApertureFNumber(const ExifInfo& exif) {
    return positiveOrOne(exif.apertureFNumber);
}

double opticalCorrection(double fNumber, double exposureTime, double iso, double sensitivity) {
    // Promised: docs/contract.md, no-guards.
    return fNumber * fNumber / (exposureTime * sensitivity * iso);
}

bool isSensitivityValid(const std::vector<double>& sensitivity) {
    return !sensitivity.empty() &&
           std::all_of(sensitivity.begin(), sensitivity.end(), [](double value) {
               return std::isfinite(value) && value > 0.0;
           });
}

Eigen::ArrayXd readSensitivity(const ExifInfo& exif) {
    const auto bands = static_cast<Eigen::Index>(exif.bandCount);
    if (exif.sensitivity.size() == exif.bandCount && isSensitivityValid(exif.sensitivity)) {
        return Eigen::Map<const Eigen::ArrayXd>(exif.sensitivity.data(), bands);
    }
    return Eigen::ArrayXd::Ones(bands);
}

DataType fixedPixeltypeForCamera(const ExifInfo& exif) {
    return sequoia::isSequoia(exif) && exif.pixelType == DataType::UInt8 ? DataType::UInt16
                                                                         : exif.pixelType;
}

PixelValueRange originalPixelRange(const ExifInfo& exif, const CameraParams& camera) {
    const DataType type =
        isGammaTransformationApplied(exif) ? DataType::UInt16 : fixedPixeltypeForCamera(exif);
    const auto [typeMin, typeMax] = minMaxForPixelType(type);
    double min = 0.0;
    double max = 0.0;
    if (!camera.pixelValue(type, min, max) || !(max > min)) {
        return {typeMin, typeMax};
    }
    if (!(min >= typeMin && max <= typeMax)) {
        // Promised: docs/contract.md, range-in-db.
        fail("Inconsistent pixel range found in DB");
    }
    return {min, max};
}

} // namespace tessik::radiometry
