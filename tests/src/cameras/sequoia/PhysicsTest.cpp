#include "radiometry/cameras/sequoia/Physics.h"

#include "SequoiaSupport.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessik::radiometry::sequoia {
namespace {

using test::grid;

TEST(SequoiaPhysics, darkCurrentGrowsWithIsoAndExponentiallyWithTemperature) {
    const DarkCurrentParameter p{3.25, grid(3, 5, 0.1, 0.37), 0.05};
    const BandMatrix map = darkCurrent(400.0, 20.0, p);
    ASSERT_EQ(map.rows(), 3);
    ASSERT_EQ(map.cols(), 5);
    for (Eigen::Index r = 0; r < 3; ++r) {
        for (Eigen::Index c = 0; c < 5; ++c) {
            // e^(20 * 0.05) = e
            const double expected = 400.0 * 2.718281828459045 * p.dark(r, c) + 3.25;
            EXPECT_FLOAT_EQ(map(r, c), static_cast<float>(expected)) << r << " " << c;
        }
    }
}

TEST(SequoiaPhysics, darkCurrentIsRoundedToFloatOnce) {
    // 2^24 + 1 lies between floats: the sum with 0.75 rounds up, a float product plus 0.75 would
    // not.
    const DarkCurrentParameter p{0.75, grid(1, 1, 16777217.0, 0.0), 0.0};
    EXPECT_EQ(darkCurrent(1.0, 35.0, p)(0, 0), 16777218.0F);
}

TEST(SequoiaPhysics, opticalCorrectionIsTheExposureRelationWithAnExposureOfItsOwnForEachPixel) {
    const CMOSParameter p{grid(3, 5, -1e-4, 3.3e-5), 1234.5, grid(3, 5, 1.0, 0.0)};
    const ParameterMatrix factor = opticalCorrection(796.0, 2.2, 0.0013, p);
    ASSERT_EQ(factor.rows(), 3);
    ASSERT_EQ(factor.cols(), 5);
    for (Eigen::Index r = 0; r < 3; ++r) {
        for (Eigen::Index c = 0; c < 5; ++c) {
            double product = 0.0013 + p.deltaTau(r, c);
            product = product * 796.0;
            product = product * 1234.5;
            EXPECT_EQ(factor(r, c), 2.2 * 2.2 / product) << r << " " << c; // to the last bit
        }
    }
}

TEST(SequoiaPhysics, opticalCorrectionAtItsLimits) {
    const CMOSParameter p{grid(1, 2, -0.25, 0.75), 2.0, grid(1, 2, 1.0, 0.0)};
    EXPECT_TRUE((opticalCorrection(100.0, 0.0, 0.5, p).array() == 0.0).all());
    const ParameterMatrix atZeroExposure = opticalCorrection(100.0, 2.0, 0.25, p);
    EXPECT_TRUE(std::isinf(atZeroExposure(0, 0)));
    EXPECT_EQ(atZeroExposure(0, 1), 4.0 / 150.0);
    EXPECT_LT(opticalCorrection(100.0, 2.0, 0.125, p)(0, 0), 0.0);
}

TEST(SequoiaPhysics, cmosResponseUndoesTheOpticalCorrectionUnderTheVignetting) {
    const CMOSParameter p{grid(3, 5, 1e-4, 1e-5), 50.0, grid(3, 5, 0.4, 0.05)};
    BandMatrix image = test::ramp(3, 5, -2.0F);
    image(2, 4) = NAN;
    const BandMatrix response = cmosResponse(image, 100.0, 2.0, 0.001, p);
    for (Eigen::Index r = 0; r < 3; ++r) {
        for (Eigen::Index c = 0; c < 5; ++c) {
            const double light = (0.001 + p.deltaTau(r, c)) * 100.0 * 50.0 / 4.0;
            const auto expected =
                static_cast<float>(static_cast<double>(image(r, c)) * p.vignetting(r, c) * light);
            if (r == 2 && c == 4) {
                EXPECT_TRUE(std::isnan(response(r, c)));
            } else {
                EXPECT_FLOAT_EQ(response(r, c), expected) << r << " " << c;
            }
        }
    }
}

TEST(SequoiaPhysics, emptyParametersGiveEmptyResultsOfTheirShape) {
    const CMOSParameter p{ParameterMatrix(0, 3), 1.0, ParameterMatrix(0, 3)};
    EXPECT_EQ(opticalCorrection(1.0, 1.0, 1.0, p).cols(), 3);
    EXPECT_EQ(cmosResponse(BandMatrix(0, 3), 1.0, 1.0, 1.0, p).cols(), 3);
    EXPECT_EQ(darkCurrent(1.0, 1.0, {0.0, ParameterMatrix(4, 0), 0.0}).rows(), 4);
}

} // namespace
} // namespace tessik::radiometry::sequoia
