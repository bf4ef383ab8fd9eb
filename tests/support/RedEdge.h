#pragma once

#include "platform/camera/ExifInfo.h"
#include "platform/image/BandMatrix.h"

namespace tessik::test {

/// Metadata of one band of a RedEdge, all of its effects present: dark pattern, off-centre
/// vignetting, rolling shutter, 12-bit range, two bad pixels.
ExifInfo redEdgeExif(std::uint64_t width, std::uint64_t height);

/// 12-bit samples shifted left by 4, some dark, some saturated, the same for the same seed.
BandMatrix redEdgeBand(std::uint64_t width, std::uint64_t height, unsigned seed);

/// The value of one pixel after the `camera` correction, by the maker's formula, in double:
/// 655.36 pi L, or no-data.
/// Source: MicaSense, radiometric calibration model:
/// L = V(x, y) (a1 / g) (p - p_BL) / (t + a2 y - a3 t y), BandSensitivity = F^2 / (pi 65536 a1).
double redEdgeOracle(const ExifInfo& exif, float sample, int column, int row);

} // namespace tessik::test
