#pragma once

#include "platform/camera/Gamma.h"
#include "platform/image/DataType.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <vector>

namespace tessik::radiometry {

/// Exposure time in s; 1.0 when it is not stated, which is neutral in opticalCorrection.
RADIOMETRY_EXPORT double readExposure(const ExifInfo& exif);
/// ISO speed; 1.0 when it is not stated.
RADIOMETRY_EXPORT double readIso(const ExifInfo& exif);
/// Aperture f-number; 1.0 when it is not stated.
RADIOMETRY_EXPORT double readApertureFNumber(const ExifInfo& exif);

/// The factor that makes pixel values of different exposures comparable:
/// fNumber^2 / (exposureTime * sensitivity * iso). A zero divisor is not guarded.
/// Source: ISO 12232 exposure relation, H = q L t / N^2.
RADIOMETRY_EXPORT double
opticalCorrection(double fNumber, double exposureTime, double iso, double sensitivity);

/// The list is not empty, and every value is finite and positive.
RADIOMETRY_EXPORT bool isSensitivityValid(const std::vector<double>& sensitivity);

/// Sensitivity of each band; ones when it is not stated, invalid, or not one value a band.
RADIOMETRY_EXPORT Eigen::ArrayXd readSensitivity(const ExifInfo& exif);

/// Range of the raw values: the camera's own where it states one, else that of the pixel type.
/// @throws error "Inconsistent pixel range found in DB" when the camera's does not lie in the
/// type's
RADIOMETRY_EXPORT PixelValueRange originalPixelRange(const ExifInfo& exif,
                                                     const CameraParams& camera);

/// The type that a camera's raw values really have: 16 bits for 8-bit Sequoia images, whose values
/// are shifted back by 8 bits before anything else.
RADIOMETRY_EXPORT DataType fixedPixeltypeForCamera(const ExifInfo& exif);

/// There is a tone curve for each band, and the pixel type is an unsigned integer one.
RADIOMETRY_EXPORT bool isGammaTransformationApplied(const ExifInfo& exif);

/// The curve at every stored value 0..maxValue (at most 65535), scaled from [minValue, maxValue].
RADIOMETRY_EXPORT LUT<unsigned short, double>
makeGammaLut(const gamma_t& gamma, double minValue, double maxValue);

} // namespace tessik::radiometry
