#pragma once

#include "platform/exif/ExifInfo.h"
#include "platform/export.h"

#include <string>
#include <vector>

namespace tessik::exif {

struct ImageMetadata;

/// An image whose calibration tags stand in for those that older firmware did not write.
struct CalibrationDonor {
    std::string path;
    ExifInfo exif;
};
/// Donors in the order that they were given.
using CalibrationDonors = std::vector<CalibrationDonor>;

/// Reads donors. @throws Error that names the file: it cannot be read, states no serial number or
/// no wavelength by which its body and band are known, or holds no calibration itself
TESSIK_PLATFORM_EXPORT CalibrationDonors readDonors(const std::vector<std::string>& paths);

/// Completes an image that states no sensitivity, no vignetting or, of a MicaSense camera, no
/// radiance calibration from the donor of the same body and band: maker, serial number, wavelengths
/// and image size are equal. A warning says what was taken from where, or that no donor fits. Dark
/// levels are not taken over: they change from image to image.
TESSIK_PLATFORM_EXPORT void borrowCalibration(const CalibrationDonors& donors,
                                              ImageMetadata& metadata);

} // namespace tessik::exif
