#pragma once

#include "platform/camera/Gamma.h"
#include "radiometry/core/export.h"

namespace tessik {
struct ExifInfo;
struct gamma_t;
} // namespace tessik

namespace tessik::radiometry {

/// There is a tone curve for each band, and the pixel type is an unsigned integer one.
RADIOMETRY_EXPORT bool isGammaTransformationApplied(const ExifInfo& exif);

/// The curve at every stored value 0..maxValue (at most 65535), scaled from [minValue, maxValue].
RADIOMETRY_EXPORT LUT<unsigned short, double>
makeGammaLut(const gamma_t& gamma, double minValue, double maxValue);

} // namespace tessik::radiometry
