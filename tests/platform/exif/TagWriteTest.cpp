#include "platform/exif/TagFile.h"
#include "platform/image/Raster.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace tessik::exif {
namespace {

TEST(WriteTags, aWholeNumberDoesForAFractionAndAValueOfAnotherTypeIsRefused) {
    const test::TemporaryFolder folder;
    const std::string file = folder.file("image.tif");
    image::writeUInt16Raster(file, {test::ramp(4, 5)});
    writeTags(file,
              {{"Exif.Image.BlackLevelRepeatDim", {"1", "2"}},
               {"Exif.Image.BlackLevel", {"4800", "48161/10"}},
               {"Exif.Photo.ISOSpeed", {"400"}}});
    const Tags tags = readTags(file).tags;
    EXPECT_EQ(tags.exifNumbers("Exif.Image.BlackLevel"), (std::vector<double>{4800.0, 4816.1}));
    EXPECT_EQ(tags.exifNumber("Exif.Photo.ISOSpeed"), 400.0);

    const auto write = [&file] {
        writeTags(file, {{"Exif.Photo.ISOSpeed", {"800"}}, {"Exif.Photo.FNumber", {"2.8"}}});
    };
    EXPECT_EQ(test::messageOf<Error>(write),
              "the metadata cannot be written: Exif.Photo.FNumber cannot hold \"2.8/1\"");
    EXPECT_EQ(readTags(file).tags.exifNumber("Exif.Photo.ISOSpeed"), 400.0);
}

TEST(WriteTags, aSequenceOfOneIsASequence) {
    const test::TemporaryFolder folder;
    const std::string file = folder.file("image.tif");
    image::writeUInt16Raster(file, {test::ramp(4, 5)});
    writeTags(file,
              {{"Xmp.Camera.SensorModel", {"1.5,2,3"}, true}, {"Xmp.Camera.RigName", {"plain"}}});
    const Tags tags = readTags(file).tags;
    EXPECT_EQ(tags.xmpNumbers("Camera", "SensorModel"), (std::vector<double>{1.5, 2.0, 3.0}));
    EXPECT_EQ(tags.xmpText("Camera", "RigName"), "plain");
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_NE(bytes.find("<rdf:li>1.5,2,3</rdf:li>"), std::string::npos);
    EXPECT_EQ(bytes.find("<rdf:li>plain"), std::string::npos);
}

TEST(WriteTags, everyPrefixIsReadBackUnderANameSpaceOfOurOwn) {
    const test::TemporaryFolder folder;
    const std::string file = folder.file("image.tif");
    image::writeUInt16Raster(file, {test::ramp(4, 5)});
    const std::vector<std::string> prefixes = {"Camera", "MicaSense", "DLS", "drone-dji", "Tessik"};
    std::vector<NewTag> tags;
    for (const std::string& prefix : prefixes) {
        tags.push_back({"Xmp." + prefix + ".ExposureTime", {"350 of " + prefix}});
    }
    writeTags(file, tags);
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const TagFile read = readTags(file);
    EXPECT_TRUE(read.warnings.empty());
    for (const std::string& prefix : prefixes) {
        EXPECT_EQ(read.tags.xmpText(prefix, "ExposureTime"), "350 of " + prefix);
        EXPECT_NE(bytes.find("xmlns:" + prefix + "=\"urn:tessik:xmp:"), std::string::npos)
            << prefix;
    }
}

} // namespace
} // namespace tessik::exif
