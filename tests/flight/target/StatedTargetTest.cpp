#include "flight/target/StatedTarget.h"

#include <gtest/gtest.h>

namespace tessik::flight {
namespace {

TEST(Region, isCornersInPixels) {
    EXPECT_EQ(parseRegion("1,2 3.6,4  5,6").size(), 4U);
    EXPECT_EQ(parseRegion("1,2 3.6,4  5,6")[1].x(), 4);
    for (const char* bad :
         {"", "1,2 3,4", "1,2 3,4 5", "1,2 3,4 x,6", "1,2 3,4 5,nan", "1,2 3,4 5,1e10"}) {
        EXPECT_TRUE(parseRegion(bad).empty()) << bad;
    }
}

} // namespace
} // namespace tessik::flight
