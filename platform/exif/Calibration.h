#pragma once

#include "platform/exif/ImageMetadata.h"
#include "platform/export.h"

namespace tessik::exif {

/// Completes an image that states no sensitivity, no vignetting or, of a MicaSense camera, no
/// radiance calibration from the donor of the same body and band: maker, serial number, wavelengths
/// and image size are equal. A warning says what was taken from where, or that no donor fits. Dark
/// levels are not taken over: they change from image to image.
TESSIK_READERS_EXPORT void borrowCalibration(const CalibrationDonors& donors,
                                             ImageMetadata& metadata);

} // namespace tessik::exif
