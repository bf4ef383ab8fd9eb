#include "flight/input/ClipLimits.h"

#include "platform/image/Raster.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <utility>

namespace tessik::flight {
namespace {

/// The limit that is known for these bodies is found where it is not stated.
TEST(ClipSpike, isThatOfRealImages) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    for (const auto& [name, limit] : {std::pair{"rededge-mx-dual/IMG_0000_8.tif", 65520.0},
                                      {"rededge-m/IMG_0007_4.tif", 0.0},
                                      {"p4m/DJI_0013.TIF", 0.0}}) {
        SampleCounts counts(65536);
        const BandMatrix band = image::Raster::open((*samples / name).string()).read().at(0);
        for (const float sample : band.reshaped<Eigen::RowMajor>()) {
            ++counts[static_cast<std::size_t>(sample)];
        }
        EXPECT_EQ(clipSpike(counts).value_or(0.0), limit) << name;
    }
}

struct SpikeCase {
    const char* what;
    std::vector<std::pair<std::size_t, std::int64_t>> samples; ///< on top of a tail that thins out
    double limit;                                              ///< 0 = none
};

TEST(ClipSpike, isAHeapAtTheTopAndNothingElse) {
    const SpikeCase cases[] = {{"nothing clips", {}, 0.0},
                               {"a heap above the tail", {{65504, 400}}, 65504.0},
                               {"defective pixels above it", {{65504, 400}, {65535, 8}}, 65504.0},
                               {"defective pixels only", {{65535, 8}}, 0.0},
                               {"too few to tell", {{65504, 20}}, 0.0},
                               {"a broad bright surface",
                                {{60000, 90}, {60016, 100}, {60032, 90}, {60048, 70}, {60064, 40}},
                                0.0}};
    for (const SpikeCase& c : cases) {
        SampleCounts counts(65536);
        for (std::size_t v = 4000; v < 60000; v += 16) {
            counts[v] = static_cast<std::int64_t>(60 - v / 1000);
        }
        for (const auto& [value, count] : c.samples) {
            counts[value] += count;
        }
        EXPECT_EQ(clipSpike(counts).value_or(0.0), c.limit) << c.what;
    }
    EXPECT_FALSE(clipSpike(SampleCounts(65536)));
}

TEST(ClipSpike, isSixTimesTheLevelsBelowIt) {
    for (const std::int64_t times : {5, 6, 7}) {
        SampleCounts counts(65536);
        for (std::size_t v = 4000; v < 60000; v += 16) {
            counts[v] = 100;
        }
        counts[60000] = 100 * times;
        EXPECT_EQ(clipSpike(counts).has_value(), times > 6) << times;
    }
}

} // namespace
} // namespace tessik::flight
