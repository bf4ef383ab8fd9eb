#pragma once

#include "platform/exif/ImageMetadata.h"
#include "platform/export.h"

#include <string>
#include <vector>

namespace tessik::exif {

/// Reads and interprets the metadata of a TIFF or JPEG file. Thread safe. @throws Error
TESSIK_READERS_EXPORT ImageMetadata readMetadata(const std::string& path,
                                                 const ReadOptions& options = {});

/// Interprets tags that are already read.
TESSIK_READERS_EXPORT ImageMetadata interpret(const TagFile& file, const ReadOptions& options = {});

/// Reads donors. @throws Error that names the file: it cannot be read, states no serial number or
/// no wavelength by which its body and band are known, or holds no calibration itself
TESSIK_READERS_EXPORT CalibrationDonors readDonors(const std::vector<std::string>& paths);

/// Completes an image that states no sensitivity, no vignetting or, of a MicaSense camera, no
/// radiance calibration from the donor of the same body and band: maker, serial number, wavelengths
/// and image size are equal. A warning says what was taken from where, or that no donor fits. Dark
/// levels are not taken over: they change from image to image.
TESSIK_READERS_EXPORT void borrowCalibration(const CalibrationDonors& donors,
                                             ImageMetadata& metadata);

/// An image as a project's record. @throws Error as readMetadata
TESSIK_READERS_EXPORT InputImage inputImage(const std::string& path, ImageMetadata metadata);

} // namespace tessik::exif
