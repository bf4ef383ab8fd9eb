/// @file
/// How makers describe the fall-off of light towards the corners of an image.
#pragma once

#include "platform/image/BandMatrix.h"

#include <array>
#include <utility>
#include <vector>

namespace tessik::simulate {

/// c0 + c1 r + c2 r^2 + ... at each pixel, r the distance from a point.
struct RadialPolynomial {
    double centerX = 0.0; ///< px
    double centerY = 0.0; ///< px
    std::vector<double> coefficients;
};
/// 1 + c1 r / unit + c2 (r / unit)^2 + ...
/// @param unit px
/// @param coefficients from c1 on
RadialPolynomial radialPolynomial(double centerX,
                                  double centerY,
                                  double unit,
                                  const std::array<double, 6>& coefficients);
BandMatrix valuesOf(const RadialPolynomial& polynomial, Eigen::Index width, Eigen::Index height);

/// The sum of coefficient * x^i * y^j at each pixel, x = column / width and y = row / height.
struct PlanePolynomial {
    std::vector<std::pair<int, int>> powers; ///< (i, j) of each coefficient
    std::vector<double> coefficients;
};
BandMatrix valuesOf(const PlanePolynomial& polynomial, Eigen::Index width, Eigen::Index height);

} // namespace tessik::simulate
