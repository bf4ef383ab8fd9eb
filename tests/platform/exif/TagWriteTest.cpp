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

/// Tags of a corrected image that was made from a file with these tags.
Tags tagsOfACopy(const std::vector<NewTag>& tags, const std::vector<std::string>& omitted = {}) {
    const test::TemporaryFolder folder;
    const std::string raw = folder.file("raw.tif");
    const std::string corrected = folder.file("corrected.tif");
    image::writeUInt16Raster(raw, {test::ramp(4, 5)});
    writeTags(raw, tags);
    image::writeUInt16Raster(corrected, {test::ramp(4, 5)});
    std::ifstream stream(corrected, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    std::ofstream(corrected, std::ios::binary)
        << copyDescription(*readTags(raw).raw, bytes, {{"Xmp.Tessik.Unit", {"1"}}}, omitted);
    return readTags(corrected).tags;
}

TEST(CopyDescription, whatIsKnownOfRawPixelsIsDroppedAndWhatIsKnownOfTheCaptureIsKept) {
    // A tag that came along would correct the image a second time.
    const std::vector<std::string> dropped = {"BandSensitivity",
                                              "BlackCurrent",
                                              "BlackLevel",
                                              "ColorTransform",
                                              "DarkRowValue",
                                              "DirectIrradiance",
                                              "ExposureTime",
                                              "Gamma",
                                              "HorizontalIrradiance",
                                              "InvalidPixel",
                                              "LS_status",
                                              "LS_type",
                                              "OffMeasurement",
                                              "Irradiance",
                                              "RadiometricCalibration",
                                              "RawData",
                                              "RawMeasurement",
                                              "ScatteredIrradiance",
                                              "SensorGain",
                                              "SensorGainAdjustment",
                                              "SensorModel",
                                              "BandGain",
                                              "SpectralIrradiance",
                                              "CalibrationMeasurement",
                                              "SunSensor",
                                              "SunSensorExposure",
                                              "IrradianceList",
                                              "VignettingCenter",
                                              "VignettingPolynomial",
                                              "BandName"};
    const std::vector<std::string> kept = {"CentralWavelength", "RigName", "Yaw", "BandWidth"};
    std::vector<NewTag> tags;
    for (const auto& names : {dropped, kept}) {
        for (const std::string& name : names) {
            tags.push_back({"Xmp.Camera." + name, {"of " + name}});
        }
    }
    tags.push_back({"Xmp.Camera.IsNormalized", {"0"}});
    const Tags copy = tagsOfACopy(tags, {"BandName"}); // which does not hold, says the caller
    for (const std::string& name : dropped) {
        EXPECT_EQ(copy.xmpText("Camera", name), "") << name;
    }
    for (const std::string& name : kept) {
        EXPECT_EQ(copy.xmpText("Camera", name), "of " + name);
    }
    EXPECT_EQ(copy.xmpNumbers("Camera", "IsNormalized"), std::vector<double>{1.0});
    EXPECT_EQ(copy.xmpText("Tessik", "Unit"), "1");
}

TEST(CopyDescription, exifSaysWhereWhenAndWithWhichCameraButNotHowPixelsWereStored) {
    const std::vector<std::string> kept = {"Exif.Image.Make",
                                           "Exif.Image.Model",
                                           "Exif.Image.Software",
                                           "Exif.Image.DateTime",
                                           "Exif.Image.ImageDescription",
                                           "Exif.Image.CameraSerialNumber",
                                           "Exif.Image.UniqueCameraModel",
                                           "Exif.Image.Copyright",
                                           "Exif.Photo.DateTimeOriginal",
                                           "Exif.GPSInfo.GPSMapDatum"};
    std::vector<NewTag> tags = {{"Exif.Image.Orientation", {"3"}},
                                {"Exif.Image.BlackLevel", {"4800"}},
                                {"Exif.Image.Artist", {"raw"}},
                                {"Exif.Photo.MakerNote", {"1 2 3 4"}}};
    for (const std::string& key : kept) {
        tags.push_back({key, {"of " + key}});
    }
    const Tags copy = tagsOfACopy(tags);
    for (const std::string& key : kept) {
        EXPECT_EQ(copy.exifText(key), "of " + key);
    }
    EXPECT_EQ(copy.exifNumber("Exif.Image.Orientation"), 3.0);
    for (const char* key : {"Exif.Image.BlackLevel", "Exif.Image.Artist", "Exif.Photo.MakerNote"}) {
        EXPECT_EQ(copy.exifText(key), "") << key;
    }
}

TEST(CopyDescription, aTargetThatIsNoImageIsRefused) {
    const test::TemporaryFolder folder;
    const std::string raw = folder.file("raw.tif");
    image::writeUInt16Raster(raw, {test::ramp(4, 5)});
    const TagFile file = readTags(raw);
    const std::string message =
        test::messageOf<Error>([&file] { copyDescription(*file.raw, "no image", {}); });
    EXPECT_EQ(message.rfind("the metadata cannot be written: ", 0), 0U) << message;
}

} // namespace
} // namespace tessik::exif
