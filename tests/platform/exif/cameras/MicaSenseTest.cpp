#include "platform/exif/ExifReader.h"
#include "platform/exif/TagBuilders.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessik::exif {
namespace {

using test::tagFile;
using test::TagList;

TagList joined(TagList tags, const TagList& more) {
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

TagList camera(const char* model, const TagList& more = {}) {
    return joined({{"Exif.Image.Make", {"MicaSense"}}, {"Exif.Image.Model", {model}}}, more);
}

struct RangeCase {
    const char* model;
    double clipsAt; ///< NaN = not known
};

TEST(MicaSense, eachBodyClipsAtItsOwnValue) {
    for (const RangeCase& c : {RangeCase{"RedEdge", 65520.0},
                               {"RedEdge-M", 65520.0},
                               {"RedEdge-P", 65504.0},
                               {"Altum", NAN},
                               {"Altum-PT", NAN}}) {
        const auto range = interpret(tagFile(camera(c.model))).exif.storedRange;
        EXPECT_EQ(range.has_value(), !std::isnan(c.clipsAt)) << c.model;
        EXPECT_TRUE(!range || range->second == c.clipsAt) << c.model;
    }
}

/// A real capture of a second-generation sensor, at 47.675 N 121.942 W, 2019-11-01 21:00:53 UTC:
/// the sun stands at 0.4521 rad.
const TagList kDual = {{"Exif.Photo.DateTimeOriginal", {"2019:11:01 21:00:53"}},
                       {"Exif.GPSInfo.GPSLatitudeRef", {"N"}},
                       {"Exif.GPSInfo.GPSLatitude", {"47/1", "40/1", "309828/10000"}},
                       {"Exif.GPSInfo.GPSLongitudeRef", {"W"}},
                       {"Exif.GPSInfo.GPSLongitude", {"121/1", "56/1", "311770/10000"}},
                       {"Xmp.Camera.Irradiance", {"41.539"}},
                       {"Xmp.Camera.IrradianceYaw", {"1"}},
                       {"Xmp.Camera.IrradiancePitch", {"2"}},
                       {"Xmp.Camera.IrradianceRoll", {"3"}}};
const TagList kLevel = {{"Xmp.DLS.HorizontalIrradiance", {"45.801223754882812"}}};
const TagList kParts = {{"Xmp.DLS.DirectIrradiance", {"84.089424133300781"}},
                        {"Xmp.DLS.ScatteredIrradiance", {"9.0638313293457031"}}};

struct LightCase {
    const char* what;
    TagList tags;
    double reading; ///< W/m2/nm; 0 = none
    bool isLevel;
    std::size_t warnings;
};

TEST(MicaSense, theLightSensorsGenerationsDifferByAFactorOfAHundred) {
    const auto serial = [](const char* text) { return TagList{{"Xmp.DLS.Serial", {text}}}; };
    const auto horizontal = [](const char* text) {
        return TagList{{"Xmp.DLS.HorizontalIrradiance", {text}}};
    };
    const TagList dark = {{"Xmp.DLS.DirectIrradiance", {"0"}},
                          {"Xmp.DLS.ScatteredIrradiance", {"0"}}};
    const TagList scale = {{"Xmp.DLS.IrradianceScaleToSIUnits", {"0.1"}}};
    const LightCase cases[] = {
        {"first, by its serial number", serial("DL06-1820248-SC"), 41.539, false, 0},
        {"no serial number, no level reading", {}, 41.539, false, 0},
        {"second, as measured only", serial("DA01-1834085-SC"), 0.41539, false, 0},
        {"level", joined(kLevel, kParts), 0.45801223754882812, true, 0},
        {"level, without parts", kLevel, 0.45801223754882812, true, 0},
        {"parts only", kParts, 0.458012, true, 0},
        {"a level reading of 0", joined(horizontal("0"), kParts), 0.458012, true, 0},
        {"within a percent", joined(horizontal("46.2"), kParts), 0.462, true, 0},
        {"computed for a wrong sun", joined(horizontal("60.0"), kParts), 0.458012, true, 1},
        {"no light in the parts", joined(horizontal("0"), dark), 0.0, false, 0},
        {"0 and nothing else", horizontal("0"), 0.0, false, 0},
        {"level, under another prefix",
         {{"Xmp.Camera.HorizontalIrradiance", {"120"}}},
         1.2,
         true,
         0},
        {"another unit", joined(kLevel, scale), 4.5801223754882812, true, 0}};
    for (const LightCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(camera("Altum", joined(kDual, c.tags))));
        const ExifInfo& exif = read.exif;
        EXPECT_EQ(exif.sunIrradiance.size(), c.reading > 0.0 ? 1U : 0U) << c.what;
        // The parts are added up for a sun of our own, 0.01 degrees off the maker's.
        EXPECT_TRUE(c.reading == 0.0 || std::abs(exif.sunIrradiance.at(0) / c.reading - 1.0) < 1e-4)
            << c.what;
        EXPECT_EQ(exif.isSunIrradianceLevel, c.isLevel) << c.what;
        // The pose belongs to the tilted reading.
        EXPECT_EQ(exif.sunSensorYawPitchRoll.has_value(), c.reading > 0.0 && !c.isLevel) << c.what;
        EXPECT_EQ(read.warnings.size(), c.warnings) << c.what;
    }
}

TEST(MicaSense, withoutAPlaceTheStatedSunAddsUpTheParts) {
    const TagList tags = joined(kParts, {{"Xmp.DLS.SolarElevation", {"0.45213258266448975"}}});
    const ExifInfo exif = interpret(tagFile(camera("Altum", tags))).exif;
    ASSERT_EQ(exif.sunIrradiance.size(), 1U);
    EXPECT_NEAR(exif.sunIrradiance[0], 0.45801223754882812, 1e-6);
    EXPECT_TRUE(interpret(tagFile(camera("Altum", kParts))).exif.sunIrradiance.empty());
}

TEST(MicaSense, aThermalBandHasNothingToDoWithLight) {
    const TagList tags = {{"Xmp.Camera.BandName", {"LWIR"}},
                          {"Xmp.Camera.BandSensitivity", {"inf"}},
                          {"Xmp.MicaSense.RadiometricCalibration", {"0", "0", "0"}},
                          {"Xmp.Camera.IrradianceYaw", {"1"}},
                          {"Xmp.Camera.IrradiancePitch", {"2"}},
                          {"Xmp.Camera.IrradianceRoll", {"3"}}};
    const ImageMetadata read = interpret(tagFile(camera("Altum", tags)));
    EXPECT_TRUE(read.exif.isThermal);
    EXPECT_TRUE(read.exif.sensitivity.empty());
    EXPECT_FALSE(read.exif.sunSensorYawPitchRoll);
    EXPECT_TRUE(std::isnan(read.exif.micaSense3kModel.k1));
    EXPECT_TRUE(read.warnings.empty());
}

} // namespace
} // namespace tessik::exif
