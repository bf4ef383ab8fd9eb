#include "platform/exif/ExifReader.h"
#include "platform/exif/TagBuilders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace tessik::exif {
namespace {

using test::tagFile;
using test::TagList;

struct PositionCase {
    const char* what;
    TagList changes; ///< of a position with a fix, 36.5 N 119.25 E, 100 m
    std::optional<GeoPosition> expected;
};

TEST(CommonTags, aPositionIsReadWithItsHemispheresAndOnlyWithAFix) {
    const std::string gps = "Exif.GPSInfo.GPS";
    const PositionCase cases[] = {
        {"north east", {}, GeoPosition{36.5, 119.25, 100.0}},
        {"south", {{gps + "LatitudeRef", {"S"}}}, GeoPosition{-36.5, 119.25, 100.0}},
        {"west", {{gps + "LongitudeRef", {"W"}}}, GeoPosition{36.5, -119.25, 100.0}},
        {"below the sea", {{gps + "AltitudeRef", {"1"}}}, GeoPosition{36.5, 119.25, -100.0}},
        {"no altitude", {{gps + "Altitude", {"0/0"}}}, GeoPosition{36.5, 119.25, NAN}},
        {"active receiver", {{gps + "Status", {"A"}}}, GeoPosition{36.5, 119.25, 100.0}},
        {"no fix", {{gps + "Status", {"V"}}}, {}},
        {"no hemisphere", {{gps + "LatitudeRef", {""}}}, {}},
        {"unknown hemisphere", {{gps + "LongitudeRef", {"X"}}}, {}},
        {"two components", {{gps + "Latitude", {"36/1", "30/1"}}}, {}},
        {"no number", {{gps + "Latitude", {"0/0", "0/0", "0/0"}}}, {}},
        {"beyond the pole", {{gps + "Latitude", {"90/1", "0/1", "1/1"}}}, {}},
        {"sign and hemisphere", {{gps + "Latitude", {"-36/1", "30/1", "0/1"}}}, {}},
        {"all zero",
         {{gps + "Latitude", {"0/1", "0/1", "0/1"}}, {gps + "Longitude", {"0/1", "0/1", "0/1"}}},
         {}}};
    for (const PositionCase& c : cases) {
        TagList tags = {{gps + "LatitudeRef", {"N"}},
                        {gps + "Latitude", {"36/1", "30/1", "0/1"}},
                        {gps + "LongitudeRef", {"E"}},
                        {gps + "Longitude", {"119/1", "14/1", "60/1"}},
                        {gps + "Altitude", {"1000/10"}}};
        tags.insert(tags.end(), c.changes.begin(), c.changes.end());
        const auto position = interpret(tagFile(tags)).geo.position;
        ASSERT_EQ(position.has_value(), c.expected.has_value()) << c.what;
        if (position) {
            EXPECT_NEAR(position->latitude, c.expected->latitude, 1e-12) << c.what;
            EXPECT_NEAR(position->longitude, c.expected->longitude, 1e-12) << c.what;
            EXPECT_TRUE(position->height == c.expected->height ||
                        (std::isnan(position->height) && std::isnan(c.expected->height)))
                << c.what;
        }
    }
}

using Warnings = std::vector<std::string>;

Warnings onlyIf(bool warns, const char* text) {
    return warns ? Warnings{text} : Warnings();
}

struct DarkCase {
    const char* what;
    int bandCount;
    TagList tags;
    std::vector<Eigen::MatrixXd> expected;
};

Eigen::MatrixXd matrix(Eigen::Index rows, Eigen::Index cols, std::vector<double> values) {
    return Eigen::Map<Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>(
        values.data(), rows, cols);
}

TEST(CommonTags, darkLevelsAreAPatternOfEachBandOrOneNumber) {
    const std::string level = "Exif.Image.BlackLevel";
    const std::string repeat = level + "RepeatDim";
    const TagList current = {{"Xmp.Camera.BlackCurrent", {"70,80"}}};
    const DarkCase cases[] = {
        {"one number", 1, {{level, {"4096"}}}, {matrix(1, 1, {4096})}},
        {"all alike", 1, {{level, {"9", "9"}}, {repeat, {"1", "2"}}}, {matrix(1, 1, {9})}},
        {"rows and columns",
         1,
         {{level, {"1", "2", "3", "4", "5", "6"}}, {repeat, {"2", "3"}}},
         {matrix(2, 3, {1, 2, 3, 4, 5, 6})}},
        {"samples run fastest",
         2,
         {{level, {"1", "10", "2", "20", "3", "30"}}, {repeat, {"3", "1"}}},
         {matrix(3, 1, {1, 2, 3}), matrix(3, 1, {10, 20, 30})}},
        {"too few", 1, {{level, {"1", "2", "3"}}, {repeat, {"2", "2"}}}, {}},
        {"no pattern", 1, {{level, {"1"}}, {repeat, {"0", "1"}}}, {}},
        {"huge pattern", 1, {{level, {"1"}}, {repeat, {"65536", "65536"}}}, {}},
        {"not finite", 1, {{level, {"1/0"}}}, {}},
        {"of the maker", 2, current, {matrix(1, 1, {70}), matrix(1, 1, {80})}},
        {"of the maker, other count", 1, current, {}},
        {"of the maker, not finite", 1, {{"Xmp.Camera.BlackCurrent", {"inf"}}}, {}}};
    for (const DarkCase& c : cases) {
        EXPECT_EQ(interpret(tagFile(c.tags, c.bandCount)).exif.darkLevels, c.expected) << c.what;
    }
}

using Pixels = std::vector<std::pair<std::int32_t, std::int32_t>>;

struct BadPixelCase {
    const char* what;
    int bandCount;
    Tags::Value value;
    std::vector<Pixels> expected;
    Warnings warnings;
};

TEST(CommonTags, badPixelsAreColumnAndRowOfEachBand) {
    const Warnings noList = {"InvalidPixel does not hold one list a band; not used"};
    const Warnings noPairs = {"InvalidPixel does not hold pairs of numbers; not used"};
    const BadPixelCase cases[] = {
        {"a pair", 1, {"167,204"}, {{{167, 204}}}, {}},
        {"blanks and items", 1, {"1, 2 3,4", "5,6"}, {{{1, 2}, {3, 4}, {5, 6}}}, {}},
        {"empty text", 1, {""}, {{}}, {}},
        {"empty list", 1, {}, {{}}, {}},
        {"blanks", 1, {" \n"}, {{}}, {}},
        {"an item a band", 2, {"1,2", "3,4,5,6"}, {{{1, 2}}, {{3, 4}, {5, 6}}}, {}},
        {"none in one band", 2, {"", "3,4"}, {{}, {{3, 4}}}, {}},
        {"a list for two", 2, {"1,2"}, {}, noList},
        {"odd", 1, {"1,2,3"}, {}, noPairs},
        {"odd in one band", 2, {"1,2", "3"}, {}, noPairs},
        {"no numbers", 1, {"1,x"}, {}, noPairs}};
    for (const BadPixelCase& c : cases) {
        const ImageMetadata read =
            interpret(tagFile({{"Xmp.Camera.InvalidPixel", c.value}}, c.bandCount));
        EXPECT_EQ(read.exif.badPixels, c.expected) << c.what;
        EXPECT_EQ(read.warnings, c.warnings) << c.what;
    }
}

struct MatrixCase {
    const char* what;
    TagList tags;
    Eigen::MatrixXd expected;
    bool warns;
};

TEST(CommonTags, vignettingInTwoDimensionsPutsEachCoefficientAtItsPowers) {
    const std::string values = "Xmp.Camera.VignettingPolynomial2D";
    const std::string powers = values + "Name";
    const MatrixCase cases[] = {
        {"powers of x and y",
         {{powers, {"0,0,1,0,0,2"}}, {values, {"0.7,1.1,-0.3"}}},
         matrix(2, 3, {0.7, 0.0, -0.3, 1.1, 0.0, 0.0}),
         false},
        {"none", {{powers, {"0,0"}}}, {}, false},
        {"no powers", {{values, {"0.7"}}}, {}, true},
        {"odd powers", {{powers, {"0,0,1"}}, {values, {"0.7,1.1"}}}, {}, true},
        {"negative power", {{powers, {"0,-1"}}, {values, {"0.7"}}}, {}, true},
        {"broken power", {{powers, {"0,0.5"}}, {values, {"0.7"}}}, {}, true},
        {"huge power", {{powers, {"0,1000000"}}, {values, {"0.7"}}}, {}, true},
        {"not finite", {{powers, {"0,0"}}, {values, {"nan"}}}, {}, true},
        {"no numbers", {{powers, {"0,0"}}, {values, {"x"}}}, {}, true}};
    for (const MatrixCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(c.tags));
        EXPECT_EQ(read.exif.vignetting.coefficients, c.expected) << c.what;
        EXPECT_EQ(read.exif.vignetting.type,
                  c.expected.size() > 0 ? VignettingType::Polynomial2D : VignettingType::None)
            << c.what;
        EXPECT_EQ(
            read.warnings,
            onlyIf(c.warns, "VignettingPolynomial2D and its powers are no polynomial; not used"))
            << c.what;
    }
}

TEST(CommonTags, theColourMatrixIsRowMajorAndAsLargeAsTheBands) {
    const std::string key = "Xmp.Camera.ColorTransform";
    const MatrixCase cases[] = {
        {"rows", {{key, {"1,2,3,4"}}}, matrix(2, 2, {1, 2, 3, 4}), false},
        {"items", {{key, {"1", "2", "3", "4"}}}, matrix(2, 2, {1, 2, 3, 4}), false},
        {"too many", {{key, {"1,2,3,4,5,6,7,8,9"}}}, {}, true},
        {"not finite", {{key, {"1,2,3,inf"}}}, {}, true},
        {"no numbers", {{key, {"1,2,3,x"}}}, {}, true}};
    for (const MatrixCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(c.tags, 2));
        EXPECT_EQ(read.exif.colorConversionMatrix, c.expected) << c.what;
        EXPECT_EQ(read.warnings,
                  onlyIf(c.warns, "ColorTransform is not a bands x bands matrix; not used"))
            << c.what;
    }
}

TEST(CommonTags, aBandWithoutAWidthKeepsItsWavelength) {
    const TagList tags = {{"Xmp.Camera.BandName", {"Red, NIR"}},
                          {"Xmp.Camera.CentralWaveLength", {"660", "790"}}};
    const ExifInfo exif = interpret(tagFile(tags, 2)).exif;
    EXPECT_EQ(exif.bandNames, (std::vector<QString>{"Red", "NIR"}));
    EXPECT_EQ(exif.bands, (bands_t{{660.0, 0.0}, {790.0, 0.0}}));
}

TEST(CommonTags, aWildNumberOfBandsAllocatesNothing) {
    const ExifInfo exif = interpret(tagFile({{"Exif.Image.SamplesPerPixel", {"4294967295"}},
                                             {"Xmp.Camera.BandName", {"Red"}},
                                             {"Xmp.Camera.CentralWavelength", {"660"}},
                                             {"Xmp.Camera.InvalidPixel", {"1,2"}},
                                             {"Xmp.Camera.ColorTransform", {"1"}},
                                             {"Xmp.Camera.BlackCurrent", {"1"}},
                                             {"Exif.Image.BlackLevel", {"1"}}}))
                              .exif;
    EXPECT_TRUE(exif.bands.empty() && exif.bandNames.empty() && exif.badPixels.empty());
    EXPECT_TRUE(exif.darkLevels.empty() && exif.colorConversionMatrix.size() == 0);
}

struct TargetCase {
    const char* what;
    TagList tags;
    int bandCount;
    bool isTarget;
    std::vector<double> corners; ///< x, y, x, y, ...
    std::vector<double> reflectance;
    Warnings warnings;
};

TEST(CommonTags, theTargetThatTheCameraFoundIsReadAsStated) {
    const std::string picture = "Xmp.Camera.CalibrationPicture";
    const std::string area = "Xmp.Camera.ReflectArea";
    const std::string albedo = "Xmp.Camera.Albedo";
    const TagList parrot = {{"Exif.Image.Make", {"Parrot"}}, {"Exif.Image.Model", {"Sequoia"}}};
    const auto sequoia = [&](const char* number) {
        TagList tags = parrot;
        tags.push_back({picture, {number}});
        return tags;
    };
    const Warnings noPairs = {"ReflectArea does not hold pairs of numbers; not used"};
    const Warnings noAlbedo = {"Albedo does not hold one number a band; not used"};
    const TargetCase cases[] = {
        {"nothing said", {}, 1, false, {}, {}, {}},
        {"no target", {{picture, {"0"}}}, 1, false, {}, {}, {}},
        {"1 of others", {{picture, {"1"}}}, 1, false, {}, {}, {}},
        {"1 of a Sequoia", sequoia("1"), 1, true, {}, {}, {}},
        {"2 of a Sequoia", sequoia("2"), 1, true, {}, {}, {}},
        {"0 of a Sequoia", sequoia("0"), 1, false, {}, {}, {}},
        {"items",
         {{picture, {"2"}}, {area, {"1,2", "9,2.5", "9,8", "1,8"}}, {albedo, {"0.5"}}},
         1,
         true,
         {1, 2, 9, 2.5, 9, 8, 1, 8},
         {0.5},
         {}},
        {"one text", {{area, {"1,2, 9,2, 9,8"}}}, 1, false, {1, 2, 9, 2, 9, 8}, {}, {}},
        {"two bands", {{albedo, {"0.5,0.6"}}}, 2, false, {}, {0.5, 0.6}, {}},
        {"odd corners", {{area, {"1,2,3"}}}, 1, false, {}, {}, noPairs},
        {"corner at infinity", {{area, {"1,inf"}}}, 1, false, {}, {}, noPairs},
        {"corners without numbers", {{area, {"left"}}}, 1, false, {}, {}, noPairs},
        {"one number for two bands", {{albedo, {"0.5"}}}, 2, false, {}, {}, noAlbedo},
        {"no number", {{albedo, {"nan"}}}, 1, false, {}, {}, noAlbedo}};
    for (const TargetCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(c.tags, c.bandCount));
        const RecordedTarget& target = read.exif.recordedTarget;
        EXPECT_EQ(target.isTarget, c.isTarget) << c.what;
        std::vector<double> corners;
        for (const Eigen::Vector2d& corner : target.corners) {
            corners.insert(corners.end(), {corner.x(), corner.y()});
        }
        EXPECT_EQ(corners, c.corners) << c.what;
        EXPECT_EQ(target.reflectance, c.reflectance) << c.what;
        EXPECT_EQ(read.warnings, c.warnings) << c.what;
    }
}

TEST(CommonTags, theShapeIsThatOfTheMetadataOfATiffAndOfThePixelsOfAJpeg) {
    struct TypeCase {
        const char* bits;
        const char* format; ///< 1 unsigned, 2 signed, 3 float
        DataType expected;
    };
    for (const TypeCase& c : {TypeCase{"8", "1", DataType::UInt8},
                              {"8", "2", DataType::Unknown},
                              {"10", "1", DataType::UInt16},
                              {"16", "1", DataType::UInt16},
                              {"16", "2", DataType::Int16},
                              {"17", "1", DataType::Unknown},
                              {"32", "1", DataType::UInt32},
                              {"32", "2", DataType::Int32},
                              {"32", "3", DataType::Float32},
                              {"64", "3", DataType::Float64},
                              {"16", "3", DataType::Unknown},
                              {"1", "1", DataType::Unknown}}) {
        TagFile file = tagFile(
            {{"Exif.Image.BitsPerSample", {c.bits}}, {"Exif.Image.SampleFormat", {c.format}}}, 2);
        ExifInfo exif = interpret(file).exif;
        EXPECT_EQ(exif.pixelType, c.expected) << c.bits << " " << c.format;
        EXPECT_EQ(exif.imageWidth, 40U);
        EXPECT_EQ(exif.imageHeight, 30U);
        EXPECT_EQ(exif.bandCount, 2U);

        // The tags of a JPEG may be those of a thumbnail.
        file.isJpeg = true;
        file.pixelWidth = 4000;
        file.pixelHeight = 3000;
        exif = interpret(file).exif;
        EXPECT_EQ(exif.pixelType, DataType::UInt8);
        EXPECT_EQ(exif.imageWidth, 4000U);
        EXPECT_EQ(exif.imageHeight, 3000U);
        EXPECT_EQ(exif.bandCount, 3U);
    }
}

struct PrincipalPointCase {
    const char* what;
    TagList changes; ///< of 2.4 x 1.8 mm, 2540 px across and 5080 px along an inch
    std::optional<Eigen::Vector2d> expected; ///< px
};

TEST(CommonTags, thePrincipalPointIsInPixelsWhateverTheUnitOfTheResolution) {
    const std::string plane = "Exif.Photo.FocalPlane";
    const std::string unit = plane + "ResolutionUnit";
    const PrincipalPointCase cases[] = {
        {"inches", {{unit, {"2"}}}, Eigen::Vector2d(240.0, 360.0)},
        {"no unit", {}, Eigen::Vector2d(240.0, 360.0)},
        {"centimetres", {{unit, {"3"}}}, Eigen::Vector2d(609.6, 914.4)},
        {"millimetres", {{unit, {"4"}}}, Eigen::Vector2d(6096.0, 9144.0)},
        {"a unit that nobody knows", {{unit, {"5"}}}, {}},
        {"no resolution across", {{plane + "XResolution", {"0/1"}}}, {}},
        {"no resolution along", {{plane + "YResolution", {"-1/1"}}}, {}},
        {"one number", {{"Xmp.Camera.PrincipalPoint", {"2.4"}}}, {}}};
    for (const PrincipalPointCase& c : cases) {
        TagList tags = {{"Xmp.Camera.PrincipalPoint", {"2.4,1.8"}},
                        {plane + "XResolution", {"2540/1"}},
                        {plane + "YResolution", {"5080/1"}}};
        for (const auto& [key, value] : c.changes) {
            tags.erase(std::remove_if(tags.begin(),
                                      tags.end(),
                                      [&key = key](const auto& tag) { return tag.first == key; }),
                       tags.end());
            tags.emplace_back(key, value);
        }
        const auto point = interpret(tagFile(tags)).exif.principalPoint;
        ASSERT_EQ(point.has_value(), c.expected.has_value()) << c.what;
        if (point) {
            EXPECT_NEAR((*point - *c.expected).norm(), 0.0, 1e-9) << c.what;
        }
    }
}

} // namespace
} // namespace tessik::exif
