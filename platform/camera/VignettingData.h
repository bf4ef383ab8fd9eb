#pragma once

#include <Eigen/Core>

#include <cstdint>

namespace tessik {

enum class VignettingType : std::int32_t {
    None = 0,
    RadialPolynomial = 1,
    Polynomial2D = 2,
    Sequoia = 3,
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
