#include "flight/light/ClearSky.h"

#include "platform/math/Angle.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <sstream>

namespace tessik::flight {
namespace {

TEST(ClearSky, agreesWithAnIndependentImplementation) {
    const auto samples = test::samplesFolder();
    std::ifstream file(samples.value_or("") / ".." / "reference" / "clear-sky-spectra.csv");
    if (!file) {
        GTEST_SKIP() << "no reference spectra beside the samples";
    }
    std::string line;
    std::getline(file, line);
    int rows = 0;
    while (std::getline(file, line)) {
        std::stringstream stream(line);
        std::array<double, 11> v{};
        for (double& value : v) {
            std::string cell;
            std::getline(stream, cell, ',');
            value = std::stod(cell);
        }
        const ClearSky sky(
            v[0] * kDegree, static_cast<int>(v[1]), {v[2], v[3], v[4], v[5], v[6], v[7]});
        const SkyLight light = sky.at(v[8]);
        EXPECT_NEAR(light.direct / v[9], 1.0, 1e-4) << line;
        EXPECT_NEAR(light.diffuse / v[10], 1.0, 1e-4) << line;
        ++rows;
    }
    EXPECT_GT(rows, 50);
}

TEST(ClearSky, behavesAsSkiesDo) {
    const ClearSky high(60.0 * kDegree, 172);
    const ClearSky low(15.0 * kDegree, 172);
    const ClearSky winter(60.0 * kDegree, 3);
    Atmosphere hazy;
    hazy.opticalDepth500 = 0.5;
    const ClearSky haze(60.0 * kDegree, 172, hazy);
    // The sun is nearer in January; a low sun is redder; haze turns direct light into diffuse.
    EXPECT_NEAR(winter.at(550.0).direct / high.at(550.0).direct, 1.0351 / 0.9678, 2e-3);
    EXPECT_LT(low.at(450.0).direct / low.at(850.0).direct,
              0.8 * high.at(450.0).direct / high.at(850.0).direct);
    EXPECT_LT(haze.at(550.0).direct, high.at(550.0).direct);
    EXPECT_GT(haze.at(550.0).diffuse, high.at(550.0).diffuse);
    // Between two lines of the table, over the width of a band, and beyond the table.
    EXPECT_NEAR(high.at(555.0).level(),
                0.5 * (high.at(550.0).level() + high.at(560.0).level()),
                1e-12 + 0.02);
    EXPECT_LT(high.over({760.0, 12.0}).level(), high.at(740.0).level()); // oxygen absorbs
    EXPECT_EQ(high.at(5000.0).level(), 0.0);
    EXPECT_EQ(ClearSky(-0.01, 172).at(550.0).level(), 0.0);
}

TEST(ClearSky, knowsHeightAndDay) {
    EXPECT_NEAR(standardPressure(0.0), 101325.0, 1e-6);
    EXPECT_NEAR(standardPressure(1500.0), 84556.0, 50.0);
    EXPECT_EQ(dayOfYear(0.0), 1);
    EXPECT_EQ(dayOfYear(1718971200.0), 173); // 2024-06-21, a leap year
}

} // namespace
} // namespace tessik::flight
