#pragma once

#include <Eigen/Core>

#include <cstdint>

namespace tessik {

/// What the coefficients of a VignettingData are.
enum class VignettingType : std::int32_t {
    None = 0,             ///< no description
    RadialPolynomial = 1, ///< of the distance to the centre, px
    Polynomial2D = 2,     ///< of column / width and row / height
    Sequoia = 3,          ///< a grid of two interleaved row fields
};

/// How a camera's brightness falls off over the image: relative brightness, to divide by.
struct VignettingData {
    /// Radial: one column, power of the radius in px = row. 2D: row = power of x = column/width,
    /// column = power of y = row/height. Sequoia: a coarse grid of brightness. Empty: no
    /// description.
    Eigen::MatrixXd coefficients;
    double centerX = 0.0; ///< px; 0 = not given, the principal point is used
    double centerY = 0.0; ///< px; 0 = not given
    VignettingType type = VignettingType::None;
};

} // namespace tessik
