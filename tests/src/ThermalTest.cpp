#include "radiometry/Thermal.h"

#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tessik::radiometry {
namespace {

using testing::ElementsAre;

TEST(Thermal, hundredthsOfAKelvinBecomeDegreesCelsius) {
    BandImage bands = {test::band(2, 3, {27315, 30000, 0, 1, 65535, -5}),
                       test::band(1, 2, {static_cast<float>(test::kNan), 0})};
    const Account account = toCelsius(bands);
    constexpr float kCelsius[] = {0.0F, 26.85F, kNoData, -273.14F, 382.2F, kNoData};
    for (Eigen::Index i = 0; i < 6; ++i) {
        EXPECT_NEAR(bands[0].data()[i], kCelsius[i], 2e-5) << i; // half a float's step at 382
    }
    EXPECT_EQ(bands[1], test::band(1, 2, {kNoData, kNoData}));

    EXPECT_EQ(account.name, "Celsius");
    EXPECT_THAT(account.numbersOf("pixels"), ElementsAre(6, 2));
    EXPECT_THAT(account.numbersOf("masked"), ElementsAre(2, 2));
    const std::vector<double> means = account.numbersOf("mean");
    ASSERT_EQ(means.size(), 2U);
    EXPECT_NEAR(means[0], (0.0 + 26.85 - 273.14 + 382.2) / 4.0, 1e-4); // floats of 400
    EXPECT_TRUE(std::isnan(means[1]));
    EXPECT_EQ(account.values.back().unit, "degree_Celsius");
}

} // namespace
} // namespace tessik::radiometry
