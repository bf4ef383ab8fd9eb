#include "flight/overlap/Pairs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <utility>

namespace tessik::flight {
namespace {

constexpr std::size_t kOnLine = 20;
constexpr double kStep = 7.0;     // m
constexpr double kSpacing = 18.0; // m

/// Lines to the north and to the south side by side, 20 images each, a long turn between them.
std::vector<Station> survey(std::size_t lines) {
    std::vector<Station> stations;
    for (std::size_t line = 0; line < lines; ++line) {
        for (std::size_t k = 0; k < kOnLine; ++k) {
            const bool isNorth = line % 2 == 0;
            const auto place = static_cast<double>(isNorth ? k : kOnLine - 1 - k);
            stations.push_back({1.5 * static_cast<double>(line * (kOnLine + 5) + k),
                                {kSpacing * static_cast<double>(line), kStep * place, 300.0},
                                isNorth ? 2.0 : -178.0});
        }
    }
    return stations;
}

std::size_t lineOf(std::size_t image) {
    return image / kOnLine;
}

TEST(Pairs, neighboursAlongAndAcrossTheLinesAreChosenEvenly) {
    std::vector<Station> stations = survey(6);
    const std::vector<Pair> pairs = choosePairs(stations, 40);
    ASSERT_EQ(pairs.size(), 40U);
    std::set<std::pair<std::size_t, std::size_t>> different;
    std::vector<int> perLine(6, 0);
    std::size_t along = 0;
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(testing::Message() << pair.first << " and " << pair.second);
        different.emplace(pair.first, pair.second);
        along += pair.isAlong ? 1 : 0;
        ++perLine[lineOf(pair.first)];
        if (pair.isAlong) {
            EXPECT_EQ(pair.second, pair.first + 1);
            EXPECT_EQ(lineOf(pair.first), lineOf(pair.second));
        } else {
            EXPECT_EQ(lineOf(pair.second), lineOf(pair.first) + 1);
            EXPECT_LT((stations[pair.first].position - stations[pair.second].position).norm(),
                      1.1 * kSpacing);
        }
    }
    EXPECT_EQ(different.size(), pairs.size());
    EXPECT_EQ(along, 20U);
    EXPECT_GE(*std::min_element(perLine.begin(), perLine.end()), 3);
}

TEST(Pairs, someImagesHaveNoNeighbour) {
    struct Case {
        const char* name;
        std::function<void(std::vector<Station>&)> change;
        std::size_t lines;
        std::size_t along; ///< expected
        bool hasAcross;    ///< expected
    };
    const Case cases[] = {
        {"one line has no neighbours across", [](auto&) {}, 1, 19, false},
        {"what is not known of the heading, the course tells",
         [](auto& stations) {
             for (Station& station : stations) {
                 station.heading = std::numeric_limits<double>::quiet_NaN();
             }
         },
         2,
         37, // the last image before a turn looks into the turn
         true},
        {"turned by more than 20 degrees",
         [](auto& stations) { stations[7].heading += 21.0; },
         1,
         17,
         false},
        {"turned by less, beyond a whole turn",
         [](auto& stations) { stations[7].heading += 379.0; },
         1,
         19,
         false},
        {"a pause", [](auto& stations) { stations.back().time += 9.0; }, 1, 18, false},
        {"hovering",
         [](auto& stations) { stations[19].position = stations[18].position; },
         1,
         18,
         false},
        {"captures of a panel on the ground, before and after",
         [](auto& stations) {
             stations.insert(stations.begin(), {-3.0, {0.0, -3.0, 246.0}, 2.0});
             stations.push_back({33.0, {0.0, 140.0, 247.0}, 2.0});
         },
         1,
         19,
         false},
        {"a flight that begins in the air, up a slope",
         [](auto& stations) {
             for (std::size_t i = 0; i < stations.size(); ++i) {
                 stations[i].position.z() += 0.4 * static_cast<double>(i);
             }
         },
         1,
         19,
         false},
        {"in any order",
         [](auto& stations) { std::reverse(stations.begin(), stations.end()); },
         1,
         19,
         false},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        std::vector<Station> stations = survey(one.lines);
        one.change(stations);
        const std::vector<Pair> pairs = choosePairs(stations, 200);
        const auto along = std::count_if(
            pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.isAlong; });
        EXPECT_EQ(static_cast<std::size_t>(along), one.along);
        EXPECT_EQ(pairs.size() > one.along, one.hasAcross);
    }
    std::vector<Station> none;
    EXPECT_TRUE(choosePairs(none, 10).empty());
}

} // namespace
} // namespace tessik::flight
