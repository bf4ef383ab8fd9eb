#include "flight/light/Levelling.h"

#include "platform/math/Angle.h"
#include "radiometry/sun/SunIrradiance.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace tessik::flight {
namespace {

/// A sensor on an aircraft that flies legs to and fro and sways; the sun is at 40 degrees, between
/// ahead and abeam.
SensorViews viewsOfLegs(std::size_t count) {
    std::mt19937 generator(3);
    std::normal_distribution<double> sway(0.0, 4.0 * kDegree);
    SensorViews views;
    for (std::size_t i = 0; i < count; ++i) {
        const double yaw = (i / 20 % 2 == 0 ? 0.0 : 180.0) * kDegree;
        const Eigen::Matrix3d body = (Eigen::AngleAxisd(-yaw, Eigen::Vector3d::UnitZ()) *
                                      Eigen::AngleAxisd(sway(generator), Eigen::Vector3d::UnitX()) *
                                      Eigen::AngleAxisd(sway(generator), Eigen::Vector3d::UnitY()))
                                         .toRotationMatrix();
        SensorView view;
        view.sun = {std::cos(40.0 * kDegree) * std::sqrt(0.5),
                    std::cos(40.0 * kDegree) * std::sqrt(0.5),
                    std::sin(40.0 * kDegree)};
        view.forward = body * Eigen::Vector3d::UnitY();
        view.normal = body * Eigen::Vector3d::UnitZ();
        view.right = body * Eigen::Vector3d::UnitX();
        views.emplace_back(view);
    }
    return views;
}

TEST(Levelling, isTheLibrarysForASensorThatStandsAsStated) {
    const SensorViews views = viewsOfLegs(5);
    const Eigen::Array2d direct(0.3, 0.8);
    const Eigen::ArrayXXd logarithms = levellingLogarithms(views, direct, {});
    for (std::size_t i = 0; i < views.size(); ++i) {
        const SensorView& view = *views[i];
        const radiometry::correction::SunInfo info(
            {0.0, std::asin(view.sun.z())}, view.normal.dot(view.sun), view.normal.dot(view.up));
        const Eigen::ArrayXd expected = radiometry::correction::sunPosition(info, direct);
        for (Eigen::Index b = 0; b < 2; ++b) {
            EXPECT_NEAR(std::exp(logarithms(static_cast<Eigen::Index>(i), b)), expected[b], 1e-12);
        }
    }
}

TEST(Levelling, findsHowASensorLeans) {
    const SensorViews views = viewsOfLegs(160);
    const Lean lean{-2.0 * kDegree, 3.0 * kDegree};
    std::mt19937 generator(4);
    std::normal_distribution<double> noise(0.0, 0.01);
    std::vector<double> times;
    std::vector<double> readings;
    for (std::size_t i = 0; i < views.size(); ++i) {
        times.push_back(2.0 * static_cast<double>(i));
        const double drift = 0.1 * std::sin(times.back() / 100.0);
        readings.push_back(std::log(receivedShare(*views[i], lean, 0.8)) + drift +
                           noise(generator));
    }
    const std::vector<bool> all(views.size(), true);
    const MountFit fit = fitMount(times, readings, views, 0.7, all);
    EXPECT_NEAR(fit.lean.forward / kDegree, -2.0, 0.8);
    EXPECT_NEAR(fit.lean.right / kDegree, 3.0, 0.8);
    EXPECT_NEAR(fit.fractionShift, 0.1, 0.07);
    // Readings that tell nothing leave what is stated.
    const MountFit none = fitMount(times, readings, views, 0.7, std::vector<bool>(160, false));
    EXPECT_EQ(none.lean.right, 0.0);
}

TEST(Levelling, followsCloudsThatTakeTheDirectLight) {
    const SensorViews views = viewsOfLegs(40);
    constexpr double kDirect = 0.8;
    Eigen::ArrayXXd readings(40, 1);
    Eigen::ArrayXd truth(40);
    const double sunlit = std::log(levelShare(*views[0], kDirect));
    for (Eigen::Index i = 0; i < 40; ++i) {
        const SensorView& view = *views[static_cast<std::size_t>(i)];
        const double sun = i % 3 == 0 ? 0.2 : i % 3 == 1 ? 0.0 : 1.0; // what the clouds let through
        const auto mixed = [&](double incidence, double sky) {
            return sun * kDirect * incidence + (1.0 - kDirect) * sky;
        };
        const double q = view.normal.z();
        readings(i, 0) = std::log(mixed(view.normal.dot(view.sun), 0.5 + 0.5 * q * q));
        truth[i] = std::log(mixed(view.sun.z(), 1.0));
    }
    const Eigen::ArrayXXd levelling = levelUnderClouds(
        readings,
        views,
        {},
        {Eigen::ArrayXd::Constant(1, kDirect), Eigen::ArrayXd::Constant(1, sunlit)});
    EXPECT_LT((readings.col(0) + levelling.col(0) - truth).abs().maxCoeff(), 1e-9);
}

TEST(Levelling, whatBandsSeeTogetherIsTheirMean) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    Eigen::ArrayXXd bands(3, 2);
    bands << 1.0, 10.0, 2.0, 11.0, 4.0, kNaN;
    const std::vector<double> mode = commonMode(bands);
    EXPECT_NEAR(mode[1] - mode[0], 1.0, 1e-12);
    EXPECT_NEAR(mode[2], 2.0, 1e-12);
}

} // namespace
} // namespace tessik::flight
