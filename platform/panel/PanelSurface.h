#pragma once

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"
#include "platform/panel/Outline.h"
#include "platform/panel/PanelGeometry.h"

namespace tessik::target {

/// The part of a panel's grey surface that is measured: brighter than any frame, and between frames
/// that are darker. Of several places the one whose light is most even.
/// @param code corners of the code in the image: top left, bottom left, bottom right, top right as
///        it is printed
/// @param dark what the camera adds to all pixels alike
/// @return nothing when no such place lies inside the image
TESSIK_READERS_EXPORT image::Ring surfaceRegion(const PanelGeometry& geometry,
                                                const Corners& code,
                                                const BandMatrix& band,
                                                double dark);

} // namespace tessik::target
