#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/directSunlightFraction/ClearSkyModelBird.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"
#include "support/Almanac.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace tessik::radiometry {
namespace {

using test::kNan;

std::vector<InputImage> imagesAt(const std::vector<double>& times) {
    std::vector<InputImage> images(times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        images[i].geo.captureTime = times[i];
    }
    return images;
}

struct SkyCase {
    double zenithDegrees, pressure, depth500, depth380, forward, absorptance;
    double epsilon;
};

TEST(ClearSky, theFractionIsThatOfThePublishedFormula) {
    // Expected values: the paper's equations in 40 digits with python's mpmath.
    const std::vector<SkyCase> cases = {
        {0, 1013, 0, 0, 0.84, 0.1, 0.96281831188634345},
        {60, 1013, 0, 0, 0.84, 0.1, 0.93587201846421252},
        {60, 900, 0, 0, 0.84, 0.1, 0.94178826968381972},
        {35, 1013, 0.2, 0.3, 0.84, 0.1, 0.82525671975873325},
        {75, 950, 0.35, 0.1, 0.7, 0.25, 0.66343300379299267},
        {89.999999, 1013, 0, 0, 0.84, 0.1, 1.0530292127691557},
    };
    for (const SkyCase& c : cases) {
        const ClearSkyModelBird sky(c.zenithDegrees * test::kDegree,
                                    c.pressure,
                                    c.depth500,
                                    c.depth380,
                                    c.forward,
                                    c.absorptance);
        // A zenith angle of few roundings; near the horizon the air mass multiplies them by 100.
        EXPECT_NEAR(sky.epsilon(), c.epsilon, 1e-12) << c.zenithDegrees << ' ' << c.pressure;
    }
}

TEST(DayTimeMean, takesTheImagesThatHaveATime) {
    EXPECT_EQ(calcDayTimeMean(imagesAt({0.0, 1.6e9, 0.0, 1.6e9 + 30.0})), 1.6e9 + 15.0);
    EXPECT_EQ(calcDayTimeMean(imagesAt({-10.0})), -10.0);
    EXPECT_TRUE(std::isnan(calcDayTimeMean(imagesAt({1.6e9, kNan}))));
    for (const auto& images : {imagesAt({}), imagesAt({0.0, 0.0})}) {
        EXPECT_EQ(test::messageOf<error>([&] { calcDayTimeMean(images); }),
                  "no valid time could be computed");
    }
}

/// Two cameras that share a band; a third one that is not corrected for the sun angle.
struct Cameras {
    CamerasData data;
    std::unordered_map<std::uint64_t, Settings> settings;

    Cameras() {
        data[4].bands = {{560, 27}, {668, 14}};
        data[9].bands = {{475, 32}, {840, 57}, {560, 27}};
        data[2].bands = {{560, 27}, {717, 12}};
        settings[4] = {CorrectionType::CameraSunIrradianceAndSunAngle};
        settings[9] = {static_cast<CorrectionType>(4)};
        settings[2] = {CorrectionType::CameraAndSunIrradiance};
    }
};

TEST(BandGroups, holdTheBandsOfCamerasCorrectedForTheSunAngle) {
    Cameras cameras;
    const std::map<BandInfo, BandIndexByCamera> expected = {
        {{475, 32}, {{9, 0}}},
        {{560, 27}, {{4, 0}, {9, 2}}},
        {{668, 14}, {{4, 1}}},
        {{840, 57}, {{9, 1}}},
    };
    EXPECT_EQ(groupByBand(cameras.data, cameras.settings), expected);
    cameras.settings.erase(2);
    EXPECT_EQ(
        test::messageOf<std::out_of_range>([&] { groupByBand(cameras.data, cameras.settings); }),
        "invalid unordered_map<K, T> key");
}

TEST(BandFractions, comeInTheOrderOfTheBands) {
    const std::map<BandInfo, double> fractions = {{{475, 32}, 0.7}, {{560, 27}, 0.8}};
    const Eigen::ArrayXd ordered = getFractionOfDirectSunlight(fractions, {{560, 27}, {475, 32}});
    EXPECT_TRUE((ordered == Eigen::Array2d(0.8, 0.7)).all());
    EXPECT_THROW(getFractionOfDirectSunlight(fractions, {{475, 31}}), std::out_of_range);
}

TEST(PhysicalModel, theFractionIsThatOfTheSunAtTheSite) {
    // Offset and reference are far apart, so that the wrong one shows; the places are such that
    // latitude for longitude puts the sun elsewhere.
    const GeoPosition anchor{46.5, 7.5, 0.0};
    const geo::OutCoordSystem out(
        geo::CoordSystem::localAt(anchor), Eigen::Vector3d(-2e6, 1e5, 0), Eigen::Vector3d::Zero());
    const double noon = 1625047200.0; // 2021-06-30 10:00 UTC
    for (const double time : {noon - 14400.0, noon, noon + 18000.0}) {
        const double zenith =
            test::kDegree * 90.0 - test::AlmanacAngle(time,
                                                      anchor.latitude * test::kDegree,
                                                      anchor.longitude * test::kDegree)
                                       .altitude;
        const double expected = ClearSkyModelBird(zenith, 1013, 0, 0, 0.84, 0.1).epsilon();
        const auto images = imagesAt({time - 60.0, 0.0, time + 60.0});
        // The refraction, at most 0.1 degrees here.
        EXPECT_NEAR(computeDirectSunlightFractionPhysicalModel(images, out, {}), expected, 3e-4)
            << time;
    }
    EXPECT_EQ(test::messageOf<error>([&] {
                  computeDirectSunlightFractionPhysicalModel(noon + 43200.0,
                                                             anchor.latitude * test::kDegree,
                                                             anchor.longitude * test::kDegree);
              }),
              "The sun is behind the horizon.");
    EXPECT_EQ(test::messageOf<error>([&] {
                  computeDirectSunlightFractionPhysicalModel(
                      imagesAt({noon}), geo::OutCoordSystem(), {});
              }),
              "Unable to convert from output coordinate system to WGS-84");
}

TEST(PhysicalModel, everyGroupedBandGetsTheSiteFraction) {
    Cameras cameras;
    const geo::OutCoordSystem out(geo::CoordSystem::localAt({46.5, 7.5, 0.0}));
    const auto images = imagesAt({1625047200.0});
    const test::LogCapture log;
    const auto fractions =
        computeDirectSunlightFractionPhysicalModel(images, cameras.data, cameras.settings, out, {});
    ASSERT_EQ(fractions.size(), 4U);
    for (const auto& [band, fraction] : fractions) {
        EXPECT_EQ(fraction, computeDirectSunlightFractionPhysicalModel(images, out, {})) << band;
    }
    EXPECT_NE(log.all().find("Estimated direct sunlight fraction as 0.9"), std::string::npos);

    // Without a band there is nothing to ask the sun for, not even a time or a place.
    cameras.settings[4] = cameras.settings[9] = {CorrectionType::CameraAndSunIrradiance};
    EXPECT_TRUE(computeDirectSunlightFractionPhysicalModel(
                    {}, cameras.data, cameras.settings, geo::OutCoordSystem(), {})
                    .empty());
}

} // namespace
} // namespace tessik::radiometry
