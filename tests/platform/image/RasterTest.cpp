#include "platform/image/Raster.h"

#include "platform/image/PendingFile.h"
#include "platform/image/Png.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <fstream>

namespace tessik::image {
namespace {

using test::TemporaryFolder;

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A TIFF header that declares this size and holds 100 bytes of pixels.
std::string tinyTiff(std::uint32_t width, std::uint32_t height, std::uint16_t bands) {
    std::string bytes("II*\0\x08\0\0\0", 8);
    const auto put = [&bytes](std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
    };
    const std::vector<std::array<std::uint32_t, 3>> tags = {{256, 4, width},
                                                            {257, 4, height},
                                                            {258, 3, 16},
                                                            {259, 3, 1},
                                                            {262, 3, 1},
                                                            {273, 4, 200},
                                                            {277, 3, bands},
                                                            {278, 4, height},
                                                            {279, 4, 100}};
    put(static_cast<std::uint32_t>(tags.size()), 2);
    for (const auto& [tag, type, value] : tags) {
        put(tag, 2);
        put(type, 2);
        put(1, 4);
        put(value, 4);
    }
    put(0, 4);
    bytes.resize(300, '\0');
    return bytes;
}

TEST(Raster, floatBandsComeBackWholeAndByTheBlock) {
    const TemporaryFolder folder;
    const BandImage bands = {test::ramp(4, 5), test::ramp(4, 5, 100.5F)};
    writeFloatRaster(folder.file("a.tif"), bands);
    const Raster raster = Raster::open(folder.file("a.tif"));
    EXPECT_EQ(raster.width(), 5U);
    EXPECT_EQ(raster.height(), 4U);
    EXPECT_EQ(raster.type(), DataType::Float32);
    EXPECT_EQ(raster.read(), bands);
    const BandImage block = raster.readBlock(2, 1, 3, 2);
    EXPECT_EQ(block[1], bands[1].block(1, 2, 2, 3));
    EXPECT_EQ(test::messageOf<Error>([&] { (void)raster.readBlock(3, 1, 3, 2); }),
              "the block lies outside the image");
    EXPECT_EQ(test::messageOf<Error>([&] { (void)raster.readBlock(0, 0, 0, 2); }), "empty block");
}

TEST(Raster, anyLayoutComesBackWholeAndByTheBlock) {
    const TemporaryFolder folder;
    const BandImage bands = {test::ramp(150, 90), test::ramp(150, 90, 0.5F)};
    const std::vector<std::vector<std::string>> layouts = {
        {"BLOCKYSIZE=70"}, // more rows than are transferred at a time
        {"TILED=YES", "BLOCKXSIZE=32", "BLOCKYSIZE=48", "COMPRESS=DEFLATE"},
        {"INTERLEAVE=BAND", "TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16"}};
    for (const auto& layout : layouts) {
        SCOPED_TRACE(layout.front());
        WriteOptions options;
        options.creationOptions = layout;
        writeFloatRaster(folder.file("a.tif"), bands, options);
        const Raster raster = Raster::open(folder.file("a.tif"));
        EXPECT_EQ(raster.read(), bands);
        const BandImage block = raster.readBlock(17, 33, 61, 100);
        EXPECT_EQ(block[0], bands[0].block(33, 17, 100, 61));
        EXPECT_EQ(block[1], bands[1].block(33, 17, 100, 61));
    }
}

struct DamageCase {
    const char* name;
    std::string bytes;
    const char* reason; ///< its beginning
};

TEST(Raster, reducingAveragesWhatIsNoNoData) {
    const TemporaryFolder folder;
    constexpr float kNone = -10000.0F;
    WriteOptions options;
    options.noData = kNone;
    writeFloatRaster(
        folder.file("a.tif"),
        {test::band(2, 6, {1, 3, kNone, kNone, kNone, 7, 5, 7, kNone, kNone, kNone, kNone})},
        options);
    const Raster raster = Raster::open(folder.file("a.tif"));
    EXPECT_EQ(raster.readReduced(3).at(0), test::band(1, 3, {4, kNone, 7}));
    EXPECT_EQ(raster.readReduced(6).at(0), raster.read().at(0));
    EXPECT_EQ(raster.readReduced(1).at(0).rows(), 1); // never none
}

TEST(Raster, damagedFilesAreRefusedWithAReason) {
    const TemporaryFolder folder;
    writeUInt16Raster(folder.file("whole.tif"), {test::ramp(64, 64)});
    const std::string whole = readBytes(folder.file("whole.tif"));
    const std::vector<DamageCase> cases = {
        {"empty", "", "the file is empty"},
        {"text", "hello, this is no image\n", "not a readable TIFF or JPEG image"},
        {"virtual", "<VRTDataset rasterXSize=\"1\" rasterYSize=\"1\"/>", "not a readable TIFF"},
        {"headless", whole.substr(0, 6), "not a readable TIFF"},
        {"truncated", whole.substr(0, whole.size() / 2), "the pixels cannot be read"},
        {"huge", tinyTiff(2000000000, 2000000000, 1), "too large: 2000000000 x 2000000000"},
        {"hollow", tinyTiff(20000, 20000, 1), "declares 20000 x 20000 pixels in 1 band but has"},
        // 300 bytes do for 600 000 of pixels, and not for 2000 more.
        {"dense", tinyTiff(600, 500, 1), "the pixels cannot be read"},
        {"too dense",
         tinyTiff(602, 500, 1),
         "declares 602 x 500 pixels in 1 band but has only 300"},
        {"too deep", tinyTiff(602, 10, 50), "declares 602 x 10 pixels in 50 bands but has only"},
        {"bandless", tinyTiff(10, 10, 0), "not a readable TIFF"},
        {"flat", tinyTiff(0, 10, 1), ""},
    };
    for (const DamageCase& c : cases) {
        const std::string path = folder.file(std::string(c.name) + ".tif");
        writeBytes(path, c.bytes);
        const std::string reason = test::messageOf<Error>([&] { (void)Raster::open(path).read(); });
        EXPECT_NE(reason, "no error") << c.name;
        EXPECT_EQ(reason.rfind(c.reason, 0), 0U) << c.name << ": " << reason;
        EXPECT_EQ(reason.find(folder.path().string()), std::string::npos) << reason;
    }
    EXPECT_EQ(test::messageOf<Error>([&] { (void)Raster::open(folder.file("none.tif")); }),
              "no such file");
}

TEST(Raster, whatCannotBeWrittenLeavesNoFile) {
    const TemporaryFolder folder;
    EXPECT_NE(test::messageOf<Error>([&] { writeFloatRaster(folder.file("a.tif"), {}); }),
              "no error");
    EXPECT_NE(test::messageOf<Error>([&] {
                  writeFloatRaster(folder.file("b.tif"), {test::ramp(2, 2), test::ramp(3, 2)});
              }),
              "no error");
    EXPECT_NE(test::messageOf<Error>(
                  [&] { writeFloatRaster(folder.file("no/such/folder.tif"), {test::ramp(2, 2)}); }),
              "no error");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

/// The file with its directory at the end, after a tag of its own with the number 254.
std::string withMovedDirectory(const std::string& bytes) {
    const auto number = [&bytes](std::size_t at, int size) {
        std::size_t value = 0;
        for (int i = size; i-- > 0;) {
            value = value * 256 + static_cast<unsigned char>(bytes[at + static_cast<unsigned>(i)]);
        }
        return value;
    };
    const std::size_t start = number(4, 4);
    const std::size_t count = number(start, 2);
    const auto text = [](std::size_t value, int size) {
        std::string result;
        for (int i = 0; i < size; ++i) {
            result += static_cast<char>(value >> (8 * i));
        }
        return result;
    };
    const std::string padding(bytes.size() % 2, '\0');
    return bytes.substr(0, 4) + text(bytes.size() + padding.size(), 4) + bytes.substr(8) + padding +
           text(count + 1, 2) + text(254, 2) + text(4, 2) + text(1, 4) + text(0, 4) +
           bytes.substr(start + 2, 12 * count) + text(0, 4);
}

TEST(Raster, whatDescribesAFileMayMoveItsDirectory) {
    const TemporaryFolder folder;
    const std::vector<std::string> tiles = {"TILED=YES", "BLOCKXSIZE=64", "BLOCKYSIZE=64"};
    WriteOptions options;
    options.describe = withMovedDirectory;
    for (const auto& layout : {std::vector<std::string>(), tiles}) {
        options.creationOptions = layout;
        for (const auto& [rows, cols] : {std::pair{3, 5}, {500, 400}}) { // one strip, and several
            const BandMatrix band = test::ramp(rows, cols, 0.5F);
            writeFloatRaster(folder.file("a.tif"), {band}, options);
            EXPECT_EQ(Raster::open(folder.file("a.tif")).read().at(0), band) << rows;
        }
    }
    const std::pair<std::string, std::string> refused[] = {
        {"", "the TIFF directory is damaged"},
        {"II*", "the TIFF directory is damaged"},
        {std::string("II*\0\x08\0\0\0\x01\0", 10), "the TIFF directory is damaged"},
        {std::string("II*\0\x08\0\0\0\0\0", 10), "the TIFF directory has no place for the strips"},
        {std::string("II+\0\x08\0\0\0\0\0", 10),
         "metadata can be written into a classic TIFF alone"}};
    options.creationOptions.clear();
    for (const auto& [head, message] : refused) {
        options.describe = [&bytes = head](const std::string& /*head*/) { return bytes; };
        EXPECT_EQ(test::messageOf<Error>(
                      [&] { writeFloatRaster(folder.file("b.tif"), {test::ramp(2, 3)}, options); }),
                  message);
    }
}

TEST(Png, isOfTheSizeOfItsChannels) {
    ByteMatrix grey(2, 3);
    grey << 0, 1, 2, 253, 254, 255;
    const std::string bytes = encodePng({grey});
    EXPECT_EQ(bytes.substr(1, 3), "PNG");
    EXPECT_EQ(bytes.substr(16, 8), std::string("\0\0\0\3\0\0\0\2", 8)); // columns, rows
    EXPECT_NE(bytes, encodePng({grey.reverse()}));
    EXPECT_NE(test::messageOf<Error>([] { (void)encodePng({}); }), "no error");
    EXPECT_NE(test::messageOf<Error>([&] {
                  (void)encodePng({grey, grey.transpose()});
              }),
              "no error");
}

TEST(PendingFile, appearsWholeOrNotAtAll) {
    const TemporaryFolder folder;
    {
        const PendingFile file(folder.file("a.tif"));
        writeBytes(file.temporaryPath(), "half");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    PendingFile file(folder.file("a.tif"));
    writeBytes(file.temporaryPath(), "whole");
    EXPECT_FALSE(std::filesystem::exists(folder.file("a.tif")));
    file.commit();
    EXPECT_EQ(readBytes(folder.file("a.tif")), "whole");
}

} // namespace
} // namespace tessik::image
