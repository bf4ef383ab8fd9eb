#pragma once

/// @file
/// Where in an image QR codes may be, before any is read.

#include "platform/panel/FinderMarks.h"

#include <Eigen/Core>

#include <vector>

namespace tessik::target {

/// Three marks that lie as those of a code do. Modules are counted from the top left corner of the
/// code as it is printed, x to the right, y down.
struct CodePlace {
    Eigen::Vector2d origin = Eigen::Vector2d::Zero(); ///< of the modules, px
    Eigen::Matrix2d pxFromModules = Eigen::Matrix2d::Identity();
    double modules = 0.0; ///< along a side, about
    double dark = 0.0;    ///< value of the ink
    double light = 0.0;   ///< value of the paper
    double oddness = 0.0; ///< how far from a square seen from above; 0 = it is one
};

/// Every three of the marks that may be those of a code.
std::vector<CodePlace> codePlaces(const std::vector<FinderMark>& marks);

} // namespace tessik::target
