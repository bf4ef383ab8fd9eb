#include "platform/exif/ExifReader.h"
#include "platform/exif/TagBuilders.h"

#include <gtest/gtest.h>

namespace tessik::exif {
namespace {

using test::tagFile;
using test::TagList;

TagList sentera(const char* model, TagList tags) {
    tags.push_back({"Exif.Image.Make", {"Sentera"}});
    tags.push_back({"Exif.Image.Model", {model}});
    return tags;
}

TEST(Sentera, aChannelCalledGarbageIsNoBand) {
    const TagList names = {{"Xmp.Camera.BandName", {"RedEdge, Garbage, NIR"}},
                           {"Xmp.Camera.CentralWavelength", {"720", "0", "840"}},
                           {"Xmp.Camera.WavelengthFWHM", {"40", "0", "20"}}};
    const ExifInfo exif = interpret(tagFile(sentera("21022-01_12MP-ERS-0001", names), 3)).exif;
    EXPECT_EQ(exif.uselessBands, std::vector<std::size_t>{1});
    EXPECT_FALSE(exif.isThermal);
    EXPECT_FALSE(exif.storedRange);
}

struct VignettingCase {
    const char* what;
    std::vector<std::string> powers;
    bool isRead;
};

TEST(Sentera, vignettingOfThe6XIsReadWhereItsNumbersLeaveNoDoubt) {
    // In an image of 40 x 30 pixels the corner is 25 px from the middle.
    const VignettingCase cases[] = {{"highest power first", {"1e-8", "-4e-4", "0.002"}, true},
                                    {"lowest power first", {"0.002", "-4e-4", "1e-8"}, false},
                                    {"either way", {"-1e-4", "-1e-4"}, false},
                                    {"brighter in the corners", {"1e-3", "0.1"}, false},
                                    {"no numbers", {"a"}, false}};
    for (const VignettingCase& c : cases) {
        const ImageMetadata read =
            interpret(tagFile(sentera("21214-00_3.2MP-GS-0001",
                                      {{"Xmp.Sentera.VignettingPolynomial", c.powers},
                                       {"Xmp.Sentera.VignettingCenter", {"20", "15"}}})));
        EXPECT_EQ(read.exif.vignetting.coefficients.size() > 0, c.isRead) << c.what;
        EXPECT_EQ(read.exif.radiometricIndicator == 0, !c.isRead) << c.what;
        EXPECT_EQ(read.warnings.size(), c.isRead ? 0U : 1U) << c.what;
        EXPECT_EQ(read.exif.storedRange, std::pair(0.0, 4095.0)) << c.what;
        EXPECT_EQ(read.exif.lightAveragingSeconds, 3.0) << c.what;
        if (c.isRead) {
            EXPECT_EQ(read.exif.vignetting.coefficients(1, 0), 0.002);
            EXPECT_EQ(read.exif.vignetting.coefficients(3, 0), 1e-8);
        }
    }
    EXPECT_TRUE(interpret(tagFile(sentera("21216-00_82KP-ERS-0001", {}))).exif.isThermal);
    EXPECT_FALSE(interpret(tagFile(sentera("21216-00_20MP-ERS-0001", {}))).exif.isThermal);
}

} // namespace
} // namespace tessik::exif
