#include "app/Command.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

namespace tessik::app {
namespace {

using test::TemporaryFolder;
using testing::HasSubstr;
using testing::MatchesRegex;

void renderFlight(const TemporaryFolder& folder, std::size_t captures) {
    simulate::FlightOptions options;
    options.captures = captures;
    options.width = 320;
    options.height = 240;
    options.hasTruth = false;
    simulate::renderFlight(folder.path() / "flight", options);
}

TEST(OverlapsCommand, tellsWhatCorrectLeavesInTheOutputFolder) {
    const TemporaryFolder folder;
    renderFlight(folder, 3);
    ASSERT_EQ(radiometry(folder, "correct flight/images -o out").status, 0);
    const std::string left = readAll(folder.path() / "out" / "overlaps.json");
    const Result json = radiometry(folder, "overlaps out/plan.json --json");
    EXPECT_EQ(json.status, 0) << json.err;
    EXPECT_EQ(Json::parse(json.out).at("bands").size(), Json::parse(left).at("bands").size());
    EXPECT_NEAR(Json::parse(json.out).at("corrected").get<double>(),
                Json::parse(left).at("corrected").get<double>(),
                5e-4);
    EXPECT_EQ(Json::parse(left).at("pairs"), 10);

    const Result text = radiometry(folder, "overlaps out/plan.json -j 1");
    const std::string first = text.out.substr(0, text.out.find('\n'));
    EXPECT_THAT(first,
                MatchesRegex("neighbouring images differ by [0-9]+\\.[0-9] % "
                             "\\(raw: [0-9]+\\.[0-9] %\\)"));
    EXPECT_LT(text.out.find("Blue"), text.out.find("NIR"));

    // Neither a run that keeps all nor one of a part of the plan has pairs enough for a new one.
    ASSERT_EQ(radiometry(folder, "correct flight/images -o out").status, 0);
    EXPECT_EQ(readAll(folder.path() / "out" / "overlaps.json"), left);
    ASSERT_EQ(radiometry(folder, "correct --plan out/plan.json --part=1/2 -o half").status, 0);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "half" / "overlaps.json"));
}

TEST(OverlapsCommand, saysWhyThereIsNothingToCompare) {
    const TemporaryFolder folder;
    renderFlight(folder, 1);
    ASSERT_EQ(radiometry(folder, "plan flight/images").status, 0);
    const Result result = radiometry(folder, "overlaps plan.json");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("no two images of a camera are neighbours"));
}

} // namespace
} // namespace tessik::app
