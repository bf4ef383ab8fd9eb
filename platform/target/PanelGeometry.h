#pragma once

#include "platform/export.h"
#include "platform/target/Outline.h"

#include <Eigen/Core>

#include <array>

/// Where the grey surface of a panel lies relative to its QR code.
namespace tessik::target {

/// Millimetres on the panel, from the centre of the QR code; x to the right, y up.
struct PanelGeometry {
    double codeHalfSide = 0.0;
    double squareSide = 0.0; ///< of a square well inside the surface, its sides along the code's
    Eigen::Vector2d squareCentre = Eigen::Vector2d::Zero();
};

/// Of the panels of one version.
TESSIK_PLATFORM_EXPORT PanelGeometry panelGeometry(int version);

/// A surface as it may lie in an image.
struct PanelSquare {
    Corners whole; ///< the square
    Corners inner; ///< the part of it that is measured
};

/// Where the square may lie: the label with the code is not stuck on the same way round on all
/// panels, so that the code's corners leave four places.
/// @param code corners of the code in the image, as the decoder gives them: in turn around it
/// @return nothing but empty squares when the corners are those of no square seen in perspective
TESSIK_PLATFORM_EXPORT std::array<PanelSquare, 4> panelSquares(const PanelGeometry& geometry,
                                                               const Corners& code);

} // namespace tessik::target
