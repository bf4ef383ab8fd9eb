#include "platform/exif/Tags.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessik::exif {
namespace {

struct NumberCase {
    const char* text;
    double value;
};

TEST(Tags, numbersAreReadAsCamerasWriteThem) {
    for (const NumberCase& c : {NumberCase{"1.5", 1.5},
                                {" +89.60 ", 89.6},
                                {"-0.5", -0.5},
                                {"1395/1000000", 0.001395},
                                {"2.182350e-04", 2.18235e-4},
                                {"inf", INFINITY},
                                {"5/0", INFINITY}}) {
        const auto number = parseNumber(c.text);
        ASSERT_TRUE(number) << c.text;
        EXPECT_DOUBLE_EQ(*number, c.value) << c.text;
    }
    EXPECT_TRUE(std::isnan(*parseNumber("0/0")));
    for (const char* text : {"", " ", "abc", "1.5x", "1,5", "/2", "1/", "--1"}) {
        EXPECT_FALSE(parseNumber(text)) << text;
    }
}

TEST(Tags, listsAreSplitAtCommasAndBlanksAndOneBadPieceSpoilsThem) {
    EXPECT_EQ(parseNumbers({"1, 2,3 4", "5"}), (std::vector<double>{1, 2, 3, 4, 5}));
    EXPECT_TRUE(parseNumbers({"1,x,3"}).empty());
    EXPECT_TRUE(parseNumbers({""}).empty());
}

TEST(Tags, aNameIsFoundUnderItsPrefixThenElsewhereButNotWhereItMeansSomethingElse) {
    Tags tags;
    tags.addXmp("DLS", "Yaw", {"0.1"});
    EXPECT_FALSE(tags.xmpNumber("Camera", "Yaw")); // radians of the light sensor, not the camera's
    EXPECT_EQ(tags.xmpNumber("DLS", "Yaw"), 0.1);
    tags.addXmp("Other", "Bandname", {"Red"});
    EXPECT_EQ(tags.xmpText("Camera", "BandName"), "Red");
    tags.addXmp("Camera", "BandName", {"NIR"});
    EXPECT_EQ(tags.xmpText("Camera", "BandName"), "NIR");
}

} // namespace
} // namespace tessik::exif
