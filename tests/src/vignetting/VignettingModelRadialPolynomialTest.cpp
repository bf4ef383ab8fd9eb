#include "radiometry/VignettingModel.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessik::radiometry {
namespace {

const Eigen::Vector4d kCoefficients(1.0, -0.01, 0.002, -0.00003);
constexpr double kCenterX = 4.3;
constexpr double kCenterY = 0.7;

BandMatrix expectedMap(Eigen::Index rows, Eigen::Index cols) {
    const Eigen::Vector4d& k = kCoefficients;
    return BandMatrix::NullaryExpr(rows, cols, [&k](Eigen::Index r, Eigen::Index c) {
        const double rho =
            std::hypot(static_cast<double>(c) - kCenterX, static_cast<double>(r) - kCenterY);
        return static_cast<float>(k(0) + k(1) * rho + k(2) * std::pow(rho, 2) +
                                  k(3) * std::pow(rho, 3));
    });
}

/// Rows shorter and longer than the pixels that are worked on together, and some of both.
TEST(VignettingModelRadialPolynomial, isThePolynomialOfTheDistanceAtEveryPixelOfRowsOfAnyLength) {
    constexpr float kTwoRoundings = 1.2e-7F; // brightness is near 1
    for (const Eigen::Index width : {1, 7, 8, 19}) {
        const BandMatrix map =
            VignettingModelRadialPolynomial(
                kCoefficients, static_cast<std::uint64_t>(width), 3, kCenterX, kCenterY)
                .map();
        ASSERT_EQ(map.rows(), 3);
        ASSERT_EQ(map.cols(), width);
        EXPECT_LE((map - expectedMap(3, width)).cwiseAbs().maxCoeff(), kTwoRoundings) << map;
    }
}

} // namespace
} // namespace tessik::radiometry
