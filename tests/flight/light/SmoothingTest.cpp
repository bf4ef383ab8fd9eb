#include "flight/light/Smoothing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace tessik::flight {
namespace {

struct Series {
    std::vector<double> times;
    std::vector<double> truth;
    std::vector<double> values;
};

constexpr double kJitter = 0.02;

/// Light that drifts, with a cloud from the 80th to the 120th of 200 captures if `hasCloud`.
Series seriesOf(bool hasCloud) {
    std::mt19937 generator(5);
    std::normal_distribution<double> noise(0.0, kJitter);
    Series series;
    for (int i = 0; i < 200; ++i) {
        series.times.push_back(2.0 * i);
        const double cloud = hasCloud && i >= 80 && i < 120 ? -0.7 : 0.0;
        series.truth.push_back(0.05 * std::sin(i / 60.0) + cloud);
        series.values.push_back(series.truth.back() + noise(generator));
    }
    return series;
}

double rms(const Series& series, const std::vector<double>& values) {
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sum += (values[i] - series.truth[i]) * (values[i] - series.truth[i]);
    }
    return std::sqrt(sum / static_cast<double>(values.size()));
}

TEST(Smoothing, takesJitterOffAndKeepsTheEdgesOfClouds) {
    for (const bool hasCloud : {false, true}) {
        const Series series = seriesOf(hasCloud);
        const double jitter = jitterOf(series.times, series.values, 10.0);
        EXPECT_NEAR(jitter, kJitter, 0.2 * kJitter) << hasCloud;
        const Smoothed smoothed = smooth(series.times, series.values, {jitter});
        EXPECT_LT(rms(series, smoothed.values), kJitter / 2.5) << hasCloud;
        for (const std::size_t edge : {79U, 80U, 119U, 120U}) {
            EXPECT_NEAR(smoothed.values[edge], series.truth[edge], 4.0 * kJitter) << edge;
        }
        // The stated errors are those that are made.
        double squares = 0.0;
        for (const double error : smoothed.standardErrors) {
            squares += error * error / 200.0;
        }
        EXPECT_NEAR(std::sqrt(squares) / rms(series, smoothed.values), 1.0, 0.5) << hasCloud;
    }
}

TEST(Smoothing, worksWithWhatIsThere) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    // Too few for a jitter; gaps; a capture without a value; two captures at one time; an outlier.
    EXPECT_TRUE(std::isnan(jitterOf({0, 1, 2}, {1, 2, 1}, 10.0)));
    Series series = seriesOf(false);
    series.values[50] = kNaN;
    series.values[60] += 1.0;
    series.times[70] = series.times[69];
    const Smoothed smoothed = smooth(series.times, series.values, {kJitter});
    EXPECT_TRUE(std::isnan(smoothed.values[50]));
    EXPECT_NEAR(smoothed.values[58], series.truth[58], 3.0 * kJitter);
    EXPECT_NEAR(smoothed.values[70], series.truth[70], 3.0 * kJitter);
    // Captures an hour apart have nothing in common.
    const Smoothed alone = smooth({0.0, 3600.0}, {1.0, 2.0}, {kJitter});
    EXPECT_EQ(alone.values, (std::vector<double>{1.0, 2.0}));
    EXPECT_TRUE(smooth({}, {}, {kJitter}).values.empty());
}

} // namespace
} // namespace tessik::flight
