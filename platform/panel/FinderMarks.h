#pragma once

/// @file
/// The marks in three corners of a QR code: a dark square in a light ring in a dark ring. A line
/// through the centre of one crosses 1, 1, 3, 1 and 1 modules, whichever way the code is turned.

#include "platform/panel/Levels.h"

#include <Eigen/Core>

#include <vector>

namespace tessik::target {

/// One of the three marks of a code.
struct FinderMark {
    Eigen::Vector2d centre = Eigen::Vector2d::Zero(); ///< px
    /// Px from edge to edge along a row or column: 7 modules, or up to 1.41 times that.
    double across = 0.0;
    double dark = 0.0;  ///< value of the ink, at most
    double light = 0.0; ///< value of the paper, at least
};

/// The marks whose modules are about 1.3 to 6 px wide; where there are more than some tens, those
/// of most contrast.
std::vector<FinderMark> finderMarks(const Samples& samples);

} // namespace tessik::target
