#include "flight/overlap/Overlaps.h"

#include "flight/run/Run.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

Plan planOf(const TemporaryFolder& folder, std::size_t captures) {
    simulate::FlightOptions flight;
    flight.captures = captures;
    flight.width = 320;
    flight.height = 240;
    flight.hasTruth = false;
    simulate::renderFlight(folder.path() / "flight", flight);
    PlanOptions options;
    options.flight.inputs = {(folder.path() / "flight" / "images").string()};
    options.targets = "none";
    Observer nobody;
    return makePlan(options, nobody);
}

TEST(Overlaps, aRunSeesWhatAMeasurementByItselfSees) {
    const TemporaryFolder folder;
    const Plan plan = planOf(folder, 5);
    Observer nobody;
    const OverlapResult alone = measureOverlaps(plan, 2, nobody);
    // A line flown straight: 4 pairs, in each of 5 bands.
    EXPECT_EQ(alone.pairs, 20U);
    EXPECT_EQ(alone.readImages, 25U);
    ASSERT_EQ(alone.bands.size(), 5U);
    for (const BandOverlaps& band : alone.bands) {
        SCOPED_TRACE(band.name);
        EXPECT_LT(*band.along.corrected, 0.006); // of noise and of squares that do not coincide
        EXPECT_GT(*band.along.raw, 2.0 * *band.along.corrected); // clouds and exposure
        EXPECT_FALSE(band.across.raw);
        EXPECT_FALSE(band.oppositeHeading.corrected);
    }

    Overlaps overlaps(plan, Overlaps::kMostPairs, 1);
    RunOptions options;
    options.outputFolder = folder.path() / "out";
    prepareOutputFolder(options.outputFolder);
    options.watcher = &overlaps;
    EXPECT_EQ(run(plan, options, nobody).done, 25);
    // The last bits of a sum depend on where memory lies, and a placement on them.
    const OverlapResult seen = overlaps.result(2);
    EXPECT_EQ(seen.pairs, alone.pairs);
    EXPECT_EQ(seen.readImages, alone.readImages);
    ASSERT_EQ(seen.bands.size(), alone.bands.size());
    for (std::size_t b = 0; b < alone.bands.size(); ++b) {
        EXPECT_NEAR(*seen.bands[b].all.raw, *alone.bands[b].all.raw, 2e-3);
        EXPECT_NEAR(*seen.bands[b].all.corrected, *alone.bands[b].all.corrected, 5e-4);
    }

    // What is kept is not seen.
    Overlaps again(plan, Overlaps::pairsBesides(plan), 1);
    options.watcher = &again;
    EXPECT_EQ(run(plan, options, nobody).kept, 25);
    EXPECT_THAT(whyNothing(again.result(1)), testing::HasSubstr("could be read and corrected"));
}

TEST(Overlaps, aSingleCaptureHasNoNeighbour) {
    const TemporaryFolder folder;
    Observer nobody;
    EXPECT_THAT(whyNothing(measureOverlaps(planOf(folder, 1), 1, nobody)),
                testing::HasSubstr("no two images of a camera are neighbours"));
}

/// Two bands of one camera, the red one first.
Plan twoBands() {
    Plan plan;
    PlannedCamera camera;
    camera.id = 7;
    camera.bandNames = {"Red", "Blue"};
    camera.bands = {{668.0, 10.0}, {475.0, 20.0}};
    plan.cameras = {camera};
    return plan;
}

TEST(Overlaps, areSummedUpByBandAndKind) {
    const auto step =
        [](std::size_t band, bool isAlong, double turn, double raw, double corrected) {
            return Step{7, band, isAlong, turn, std::log(raw), std::log(corrected)};
        };
    const std::vector<Step> steps = {step(0, true, 5.0, 1.10, 1.01),
                                     step(0, true, -10.0, 1.0 / 1.20, 1.0 / 1.02),
                                     step(0, false, -170.0, 1.30, 1.0 / 1.06),
                                     step(0, false, 136.0, 1.50, 1.08),
                                     step(0, false, 90.0, 1.60, 1.00),
                                     step(1, true, 0.0, 1.40, 1.0 / 1.03)};
    const OverlapResult result = summaryOf(steps, twoBands());
    EXPECT_EQ(result.pairs, 6U);
    EXPECT_NEAR(*result.all.raw, 0.35, 1e-12);
    EXPECT_NEAR(*result.all.corrected, 0.025, 1e-12);
    ASSERT_EQ(result.bands.size(), 2U);
    EXPECT_EQ(result.bands[0].name, "Blue");
    EXPECT_FALSE(result.bands[0].across.corrected);
    const BandOverlaps& red = result.bands[1];
    EXPECT_EQ(red.wavelengthNm, 668.0);
    EXPECT_EQ(red.pairs, 5U);
    EXPECT_NEAR(*red.all.raw, 0.30, 1e-12);
    EXPECT_NEAR(*red.along.corrected, 0.015, 1e-12);
    EXPECT_NEAR(*red.across.raw, 0.50, 1e-12);
    EXPECT_NEAR(*red.sameHeading.raw, 0.15, 1e-12);
    EXPECT_NEAR(*red.oppositeHeading.corrected, 0.07, 1e-12);
    const Json json = toJson(result);
    EXPECT_EQ(json["bands"][0]["across"]["raw"], Json());
    EXPECT_EQ(json["bands"][1]["camera"], "7");
}

TEST(Overlaps, anEarlierFileStaysWhenFewImagesWereSeen) {
    struct Case {
        std::size_t pairs;
        bool hasKept;
        const char* expected; ///< what the file holds; empty = there is none
    };
    for (const Case& one : {Case{9, true, "earlier"},
                            Case{10, true, "\"pairs\": 10"},
                            Case{9, false, "\"pairs\": 9"},
                            Case{0, true, "earlier"},
                            Case{0, false, ""}}) {
        SCOPED_TRACE(testing::Message() << one.pairs << " pairs");
        const TemporaryFolder folder;
        std::ofstream(folder.path() / kOverlapFile) << "earlier";
        OverlapResult result;
        result.pairs = one.pairs;
        writeOverlaps(result, folder.path(), one.hasKept);
        EXPECT_EQ(fs::exists(folder.path() / kOverlapFile), *one.expected != '\0');
        EXPECT_THAT(test::readAll(folder.path() / kOverlapFile), testing::HasSubstr(one.expected));
    }
}

} // namespace
} // namespace tessik::flight
