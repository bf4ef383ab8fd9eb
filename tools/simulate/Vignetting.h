#pragma once

#include "platform/image/BandMatrix.h"

#include <utility>
#include <vector>

/// How makers describe the fall-off of light towards the corners of an image.
namespace tessik::simulate {

/// c0 + c1 r + c2 r^2 + ... at each pixel, r the distance from a point.
struct RadialPolynomial {
    double centerX = 0.0; ///< px
    double centerY = 0.0; ///< px
    std::vector<double> coefficients;
};
BandMatrix valuesOf(const RadialPolynomial& polynomial, Eigen::Index width, Eigen::Index height);

/// The sum of coefficient * x^i * y^j at each pixel, x = column / width and y = row / height.
struct PlanePolynomial {
    std::vector<std::pair<int, int>> powers; ///< (i, j) of each coefficient
    std::vector<double> coefficients;
};
BandMatrix valuesOf(const PlanePolynomial& polynomial, Eigen::Index width, Eigen::Index height);

} // namespace tessik::simulate
