#include "radiometry/config/ExposureMetadata.h"

#include "core/Fail.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

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

bool isGammaTransformationApplied(const ExifInfo& exif) {
    const bool isUnsignedInteger = exif.pixelType == DataType::UInt8 ||
                                   exif.pixelType == DataType::UInt16 ||
                                   exif.pixelType == DataType::UInt32;
    return isUnsignedInteger && exif.gamma.size() == exif.bandCount;
}

LUT<unsigned short, double> makeGammaLut(const gamma_t& gamma, double minValue, double maxValue) {
    const auto last = static_cast<std::uint16_t>(static_cast<std::uint64_t>(maxValue));
    const double scale = 1.0 / (maxValue - minValue);
    std::vector<double> table(static_cast<std::size_t>(last) + 1);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = gamma.transform((static_cast<double>(i) - minValue) * scale);
    }
    return LUT<unsigned short, double>(std::move(table));
}

} // namespace tessik::radiometry
