#include "flight/overlap/Registration.h"

#include "flight/overlap/Comparison.h"
#include "platform/math/Angle.h"
#include "radiometry/core/Types.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace tessik::flight {
namespace {

constexpr Eigen::Index kRows = 120;
constexpr Eigen::Index kColumns = 160;

/// Ground whose brightness is a sum of waves, so that it can be looked at from anywhere.
class Ground {
public:
    explicit Ground(unsigned seed) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> wave(-0.9, 0.9);
        std::uniform_real_distribution<double> phase(0.0, 2.0 * kPi);
        for (auto& [x, y, start] : m_waves) {
            x = wave(random);
            y = wave(random);
            start = phase(random);
        }
    }

    /// An image whose centre is at a place, turned clockwise, as a flat camera sees it.
    /// @param shading that brightness falls to in the corners, from 1 in the centre
    [[nodiscard]] BandMatrix seen(const Eigen::Vector2d& center,
                                  double turn,
                                  double brightness,
                                  double shading = 1.0) const {
        BandMatrix band(kRows, kColumns);
        const Eigen::Rotation2Dd rotation(turn * kDegree);
        for (Eigen::Index row = 0; row < kRows; ++row) {
            for (Eigen::Index column = 0; column < kColumns; ++column) {
                const Eigen::Vector2d offset(static_cast<double>(column) - 79.5,
                                             static_cast<double>(row) - 59.5);
                const double corner = offset.squaredNorm() / (79.5 * 79.5 + 59.5 * 59.5);
                band(row, column) = static_cast<float>(brightness * at(center + rotation * offset) *
                                                       (1.0 - (1.0 - shading) * corner));
            }
        }
        return band;
    }

private:
    [[nodiscard]] double at(const Eigen::Vector2d& place) const {
        double value = 10.0;
        for (const auto& [x, y, start] : m_waves) {
            value += 0.4 * std::sin(x * place.x() + y * place.y() + start);
        }
        return value;
    }

    std::array<std::array<double, 3>, 40> m_waves{};
};

struct View {
    const char* name;
    double turn;           ///< of the second image, degrees
    Eigen::Vector2d shift; ///< of the second image, px
    double statedTurn;     ///< by the metadata
};

class Registration : public testing::TestWithParam<View> {};

TEST_P(Registration, findsTheShiftAndTheBrightness) {
    const View& view = GetParam();
    const Ground ground(3);
    constexpr double kRaw = 1.25;
    constexpr double kCorrected = 0.985;
    const Frame first{{ground.seen({0.0, 0.0}, 0.0, 100.0, 0.5)},
                      {ground.seen({0.0, 0.0}, 0.0, 100.0)}};
    const Frame second{{ground.seen(view.shift, view.turn, 100.0 * kRaw, 0.5)},
                       {ground.seen(view.shift, view.turn, 100.0 * kCorrected)}};
    const auto placement =
        place(detailsOf(first.corrected[0]), detailsOf(second.corrected[0]), view.statedTurn, {});
    ASSERT_TRUE(placement);
    EXPECT_NEAR(placement->shift.x(), view.shift.x(), 0.5);
    EXPECT_NEAR(placement->shift.y(), view.shift.y(), 0.5);
    EXPECT_GT(placement->certainty(), kLeastCertainty);
    const std::vector<Step> steps =
        compare({first, second}, {{0, 1, 7, true, view.statedTurn, 0.3 * view.shift}}, 1);
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_NEAR(steps[0].corrected, std::log(kCorrected), 0.005);
    // Shading leans the other way on both sides of the common ground.
    EXPECT_NEAR(steps[0].raw, std::log(kRaw), 0.02);
}

INSTANTIATE_TEST_SUITE_P(Views,
                         Registration,
                         testing::Values(View{"along", 0.0, {3.25, -31.5}, 0.0},
                                         View{"turned", 17.0, {-20.0, 25.5}, 17.0},
                                         View{"turnNotExact", 8.0, {10.0, 22.0}, 6.5},
                                         View{"opposite", 180.0, {58.0, 6.0}, 180.0},
                                         View{"atRightAngles", 90.0, {12.0, -17.0}, 90.0}),
                         [](const auto& view) { return view.param.name; });

TEST(Registration, positionsHelpToFindALittleCommonGround) {
    const Ground ground(5);
    constexpr double kGroundSize = 0.3; // m
    std::vector<Frame> frames;
    for (const double place : {0.0, 40.0, 80.0, 118.0, 132.0}) {
        const BandMatrix band = ground.seen({place, 0.0}, 0.0, 100.0);
        frames.push_back({{band}, {band}});
    }
    const auto pair = [](std::size_t first, std::size_t second, bool isAlong, double move) {
        return FramePair{first, second, 7, isAlong, 0.0, {move * kGroundSize, 0.0}};
    };
    const std::vector<FramePair> along = {pair(0, 1, true, 40.0), pair(1, 2, true, 40.0)};
    EXPECT_EQ(compare(frames, along, 1).size(), 2U);
    std::vector<FramePair> pairs = along;
    pairs.push_back(pair(0, 3, false, 113.0)); // by its stated position; 26 % in common
    EXPECT_EQ(compare(frames, pairs, 1).size(), 3U);
    pairs.push_back(pair(0, 4, false, 132.0)); // 17 %
    EXPECT_EQ(compare(frames, pairs, 1).size(), 3U);
}

/// Ground of all wavelengths, unlike the few waves of Ground, of which two grounds may share one.
BandMatrix roughGround(unsigned seed) {
    std::mt19937 random(seed);
    std::normal_distribution<float> noise;
    BandMatrix band(kRows, kColumns);
    for (Eigen::Index i = 0; i < band.size(); ++i) {
        band.data()[i] = noise(random);
    }
    for (Eigen::Index row = 1; row < kRows; ++row) {
        band.row(row) += 0.8F * band.row(row - 1);
    }
    for (Eigen::Index column = 1; column < kColumns; ++column) {
        band.col(column) += 0.8F * band.col(column - 1);
    }
    return band.array() + 100.0F;
}

TEST(Registration, imagesWithNothingInCommonAreRefused) {
    std::vector<Frame> frames;
    std::vector<FramePair> pairs;
    for (unsigned seed = 0; seed < 12; ++seed) {
        const BandMatrix band = roughGround(seed);
        frames.push_back({{band}, {band}});
        for (std::size_t other = 0; other < seed; ++other) {
            pairs.push_back({other, seed, 7, other % 2 == 0, 0.0, {10.0, 10.0}});
        }
    }
    EXPECT_EQ(compare(frames, pairs, 2).size(), 0U);
    for (const float value : {100.0F, radiometry::kNoData}) {
        const BandMatrix same = BandMatrix::Constant(kRows, kColumns, value);
        const Frame blank{{same}, {reduced(same, 1)}};
        EXPECT_TRUE(compare({blank, blank}, {{0, 1, 7, true, 0.0, {10.0, 0.0}}}, 1).empty());
    }
}

TEST(Registration, aSquareNeedsNineTenthsOfItsPixels) {
    BandMatrix values = test::ramp(8, 12); // squares of 4 x 4: 2 rows, 3 columns
    values(0, 0) = radiometry::kNoData;
    values.block(0, 4, 2, 1).setConstant(test::kNan);
    const BandMatrix small = reduced(values, 4);
    ASSERT_EQ(small.rows(), 2);
    ASSERT_EQ(small.cols(), 3);
    // Columns 1..4 of rows 1, 13, 25, 37: a mean of 20.5, without the 1.
    EXPECT_FLOAT_EQ(small(0, 0), (16.0F * 20.5F - 1.0F) / 15.0F);
    EXPECT_TRUE(std::isnan(small(0, 1)));
    EXPECT_FLOAT_EQ(small(1, 2), 76.5F);
}

} // namespace
} // namespace tessik::flight
