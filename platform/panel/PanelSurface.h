#pragma once

/// @file
/// Where the grey surface of a panel lies: relative to its QR code, and in an image.

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"
#include "platform/panel/Outline.h"

#include <Eigen/Core>

#include <array>
#include <vector>

namespace tessik::target {

/// Millimetres on the panel, from the centre of the QR code; x to the right, y up.
struct PanelGeometry {
    double codeHalfSide = 0.0;
    double squareSide = 0.0; ///< of a square well inside the surface, its sides along the code's
    Eigen::Vector2d squareCentre = Eigen::Vector2d::Zero();
    /// Whether the code is printed upright beside the surface. On older panels it is stuck on, and
    /// the surface may lie on any of its sides.
    bool isUpright = true;
};

/// The geometry of the panels of one version.
TESSIK_READERS_EXPORT PanelGeometry panelGeometry(int version);

/// A surface as it may lie in an image.
struct PanelSquare {
    Corners whole; ///< the square
    Corners inner; ///< the part of it that is measured
    /// Places on two lines that begin inside the surface and end beyond its frame, one on each side
    /// as the surface is seen from the code.
    std::array<Corners, 2> beside;
};

/// Where the square may lie.
/// @param code corners of the code in the image: top left, bottom left, bottom right, top right as
///        it is printed
/// @return one square, four where the side is not known; none when the corners are those of no
///         square seen in perspective
TESSIK_READERS_EXPORT std::vector<PanelSquare> panelSquares(const PanelGeometry& geometry,
                                                            const Corners& code);

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
