#include "platform/math/Zoom.h"

#include "support/Support.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tessik::math {
namespace {

TEST(Zoom, cornersLieOnCornersAndAPlaneStaysAPlaneInside) {
    RowMatrixXd plane(6, 5);
    for (int r = 0; r < 6; ++r) {
        for (int c = 0; c < 5; ++c) {
            plane(r, c) = 3.0 + 2.0 * r - 0.5 * c;
        }
    }
    const BandMatrix zoomed = zoom(plane, 3);
    ASSERT_EQ(zoomed.rows(), 18);
    ASSERT_EQ(zoomed.cols(), 15);
    EXPECT_FLOAT_EQ(zoomed(0, 0), 3.0F);
    EXPECT_FLOAT_EQ(zoomed(17, 14), 11.0F);
    EXPECT_FLOAT_EQ(zoomed(17, 0), 13.0F);
    EXPECT_FLOAT_EQ(zoomed(0, 14), 1.0F);
    for (int i = 0; i < 18; ++i) {
        for (int j = 0; j < 15; ++j) {
            const double r = i * 5.0 / 17.0;
            const double c = j * 4.0 / 14.0;
            // A linear function is reproduced where the neighbourhood is not clamped.
            if (r >= 1 && r <= 4 && c >= 1 && c <= 3) {
                EXPECT_NEAR(zoomed(i, j), 3.0 + 2.0 * r - 0.5 * c, 1e-6) << i << " " << j;
            }
        }
    }
}

TEST(Zoom, betweenSamplesItIsTheCubicConvolution) {
    RowMatrixXd step(2, 4);
    step << 0, 0, 1, 1, 0, 0, 1, 1;
    const BandMatrix zoomed = zoom(step, 5); // 20 columns, spaced 3/19
    const double t = 9 * 3.0 / 19.0 - 1.0;
    // Keys 1981, eq. 15, for the samples 0 0 1 1.
    const double expected =
        (-1.5 * t * t * t + 2 * t * t + 0.5 * t) + (0.5 * t * t * t - 0.5 * t * t);
    EXPECT_NEAR(zoomed(4, 9), expected, 1e-7);
}

TEST(Zoom, refusesWhatItCannotEnlarge) {
    const auto message = [](Eigen::Index rows, Eigen::Index cols, int factor) {
        const std::string text = test::messageOf<std::runtime_error>(
            [=] { (void)zoom(RowMatrixXd::Ones(rows, cols), factor); });
        EXPECT_EQ(text.rfind("[Zoom.cpp:", 0), 0U) << text;
        return text.substr(text.find(']') + 1);
    };
    EXPECT_EQ(message(4, 4, 0), " Zoom factor must be greater than zero");
    EXPECT_EQ(message(4, 4, -1), " Zoom factor must be greater than zero");
    EXPECT_EQ(message(1, 4, 2), " Input matrix must be at least 2x2");
    EXPECT_EQ(message(4, 1, 2), " Input matrix must be at least 2x2");
}

} // namespace
} // namespace tessik::math
