#pragma once

/// @file
/// Turns corners in an image into regions of it.

#include "platform/camera/TargetDetector.h"
#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"

namespace tessik::target {

/// The convex outline of the corners at whole pixels: clockwise as the image is looked at, closed,
/// whatever their order. Empty when it encloses nothing.
TESSIK_READERS_EXPORT image::Ring outline(const Corners& corners);

/// Whether all corners are pixels of the image.
bool isInside(const Corners& corners, const BandMatrix& band);

} // namespace tessik::target
