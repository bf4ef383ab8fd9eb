#include "simulate/Vignetting.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

/// By Horner's rule.
double valueAtPoint(const std::vector<double>& coefficients, double x) {
    double sum = 0.0;
    for (auto c = coefficients.rbegin(); c != coefficients.rend(); ++c) {
        sum = sum * x + *c;
    }
    return sum;
}

} // namespace

RadialPolynomial radialPolynomial(double centerX,
                                  double centerY,
                                  double unit,
                                  const std::array<double, 6>& coefficients) {
    RadialPolynomial polynomial{centerX, centerY, {1.0}};
    double power = unit;
    for (const double coefficient : coefficients) {
        polynomial.coefficients.push_back(coefficient / power);
        power *= unit;
    }
    return polynomial;
}

BandMatrix valuesOf(const RadialPolynomial& polynomial, Eigen::Index width, Eigen::Index height) {
    BandMatrix map(height, width);
    for (Eigen::Index y = 0; y < height; ++y) {
        const double dy = static_cast<double>(y) - polynomial.centerY;
        for (Eigen::Index x = 0; x < width; ++x) {
            const double dx = static_cast<double>(x) - polynomial.centerX;
            map(y, x) = static_cast<float>(
                valueAtPoint(polynomial.coefficients, std::sqrt(dx * dx + dy * dy)));
        }
    }
    return map;
}

BandMatrix valuesOf(const PlanePolynomial& polynomial, Eigen::Index width, Eigen::Index height) {
    int degree = 0;
    for (const auto& [powerOfX, powerOfY] : polynomial.powers) {
        degree = std::max(degree, powerOfX);
    }
    BandMatrix map(height, width);
    std::vector<double> ofRow(static_cast<std::size_t>(degree) + 1); // coefficients of x^i
    for (Eigen::Index row = 0; row < height; ++row) {
        const double y = static_cast<double>(row) / static_cast<double>(height);
        std::fill(ofRow.begin(), ofRow.end(), 0.0);
        for (std::size_t i = 0; i < polynomial.powers.size(); ++i) {
            const auto& [powerOfX, powerOfY] = polynomial.powers[i];
            ofRow[static_cast<std::size_t>(powerOfX)] +=
                polynomial.coefficients[i] * std::pow(y, powerOfY);
        }
        for (Eigen::Index column = 0; column < width; ++column) {
            const double x = static_cast<double>(column) / static_cast<double>(width);
            map(row, column) = static_cast<float>(valueAtPoint(ofRow, x));
        }
    }
    return map;
}

} // namespace tessik::simulate
