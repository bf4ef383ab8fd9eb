#include "platform/exif/ExifReader.h"
#include "platform/exif/TagBuilders.h"
#include "platform/exif/cameras/RadialFit.h"
#include "platform/image/Raster.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace tessik::exif {
namespace {

using test::tagFile;
using test::TagList;

/// A list with the changes in it; an empty value takes the tag away.
TagList changed(TagList tags, const TagList& changes) {
    for (const auto& change : changes) {
        tags.erase(std::remove_if(tags.begin(),
                                  tags.end(),
                                  [&change](const auto& tag) { return tag.first == change.first; }),
                   tags.end());
        if (!change.second.empty()) {
            tags.push_back(change);
        }
    }
    return tags;
}

double valueAt(const Eigen::VectorXd& powers, double x) {
    double sum = 0.0;
    for (Eigen::Index i = 0; i < powers.size(); ++i) {
        sum += powers(i) * std::pow(x, static_cast<double>(i));
    }
    return sum;
}

struct SensorModelCase {
    const char* what;
    TagList changes;
    std::vector<double> sensitivity;
    std::vector<double> cmosCorrection;
    double dark; ///< mean of the pattern; NaN = none
    std::size_t warnings;
};

TEST(Sequoia, theSensorModelReplacesWhatOlderFirmwareStates) {
    const TagList sequoia = {{"Exif.Image.Make", {"Parrot"}},
                             {"Exif.Image.Model", {"Sequoia"}},
                             {"Exif.Image.BlackLevelRepeatDim", {"2", "2"}},
                             {"Exif.Image.BlackLevel", {"4950", "4980", "4990", "4960"}},
                             {"Xmp.Camera.BlackCurrent", {"75.0"}},
                             {"Xmp.Camera.SensorModel", {"310316.1,3067.5,-4773.6"}}};
    const TagList old = changed(sequoia, {{"Xmp.Camera.SensorModel", {}}});
    const auto model = [](const char* text) { return TagList{{"Xmp.Camera.SensorModel", {text}}}; };
    const SensorModelCase cases[] = {
        {"model", sequoia, {310316.1}, {-4773.6}, 3067.5, 0},
        {"old firmware", old, {}, {}, 4970.0, 0},
        {"older", changed(old, {{"Exif.Image.BlackLevel", {}}}), {}, {}, 4800.0, 0},
        {"broken level", changed(old, {{"Exif.Image.BlackLevel", {"1/0"}}}), {}, {}, 4800.0, 0},
        {"two numbers", changed(sequoia, model("310316.1,3067.5")), {}, {}, 4970.0, 1},
        {"no numbers", changed(sequoia, model("a,b,c")), {}, {}, 4970.0, 1},
        {"A is 0", changed(sequoia, model("0,3067.5,4773.6")), {}, {}, 4970.0, 1},
        {"C is none", changed(sequoia, model("310316.1,3067.5,nan")), {}, {}, 4970.0, 1}};
    for (const SensorModelCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(c.changes));
        EXPECT_EQ(read.exif.sensitivity, c.sensitivity) << c.what;
        EXPECT_EQ(read.exif.cmosCorrection, c.cmosCorrection) << c.what;
        ASSERT_EQ(read.exif.darkLevels.size(), 1U) << c.what;
        EXPECT_DOUBLE_EQ(read.exif.darkLevels[0].mean(), c.dark) << c.what;
        EXPECT_EQ(read.exif.darkLevels[0].size(), c.dark == 4970.0 ? 4 : 1) << c.what;
        EXPECT_EQ(read.exif.storedRange, std::pair(0.0, 65472.0)) << c.what;
        EXPECT_EQ(read.warnings.size(), c.warnings) << c.what;
        EXPECT_TRUE(read.exif.sunIrradiance.empty()) << c.what;
    }
    // A corrected image keeps maker and model, but its pixels have no dark level to speak of.
    const ExifInfo corrected =
        interpret(tagFile(changed(old, {{"Xmp.Camera.IsNormalized", {"1"}}}))).exif;
    EXPECT_FALSE(corrected.storedRange);
    const TagList narrow = changed(sequoia, {{"Exif.Image.BitsPerSample", {"8"}}});
    EXPECT_FALSE(interpret(tagFile(narrow)).exif.storedRange);
}

TEST(MicaSense, onlySixteenBitImagesHaveTheRangeOfTwelveBits) {
    const TagList redEdge = {{"Exif.Image.Make", {"MicaSense"}}, {"Exif.Image.Model", {"RedEdge"}}};
    EXPECT_EQ(interpret(tagFile(redEdge)).exif.storedRange, std::pair(0.0, 65520.0));
    const TagList narrow = changed(redEdge, {{"Exif.Image.BitsPerSample", {"8"}}});
    EXPECT_FALSE(interpret(tagFile(narrow)).exif.storedRange);
}

TEST(Sequoia, aBrokenListLeavesNoReadingAndSaysWhy) {
    const ImageMetadata read = interpret(tagFile({{"Exif.Image.Make", {"Parrot"}},
                                                  {"Exif.Image.Model", {"Sequoia"}},
                                                  {"Xmp.Camera.IrradianceList", {"?"}}}));
    EXPECT_TRUE(read.exif.sunIrradiance.empty());
    EXPECT_EQ(read.warnings, std::vector<std::string>{"IrradianceList: it is not base64"});
}

struct SequoiaSample {
    const char* band;
    double reading;
    double sensitivity;
    double dark;
    double cmosCorrection;
    std::size_t badPixels;
};

TEST(Sequoia, realImagesGiveWhatTheirTagsSay) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    // Readings decoded by Python's base64 and struct: ten records of 0.1 s at the reference gain.
    for (const SequoiaSample& c : {SequoiaSample{"GRE", 340.0, 310316.1, 3067.5, 4773.6, 1},
                                   {"RED", 280.0, 280652.5, 4863.1, 2764.2, 1},
                                   {"REG", 52.0, 78630.0, 5078.8, 623.5, 0},
                                   {"NIR", 140.0, 271665.8, 5008.3, 2581.1, 1}}) {
        const std::string name = std::string("sequoia/IMG_180413_080658_0000_") + c.band + ".TIF";
        const ImageMetadata read = readMetadata((*samples / name).string());
        const ExifInfo& exif = read.exif;
        EXPECT_TRUE(read.warnings.empty()) << c.band;
        ASSERT_EQ(exif.sunIrradiance.size(), 1U) << c.band;
        EXPECT_NEAR(exif.sunIrradiance[0], c.reading, 1e-9) << c.band;
        ASSERT_TRUE(exif.sunSensorYawPitchRoll) << c.band;
        EXPECT_TRUE(exif.sunSensorYawPitchRoll->isApprox(
            Eigen::Vector3d(-103.8144302368164, -0.1221621036529541, -8.087486267089844), 1e-12))
            << c.band;
        EXPECT_FALSE(exif.sunSensorRelativeOrientation) << c.band;
        EXPECT_EQ(exif.sensitivity, std::vector<double>{c.sensitivity}) << c.band;
        EXPECT_EQ(exif.cmosCorrection, std::vector<double>{c.cmosCorrection}) << c.band;
        EXPECT_EQ(exif.darkLevels.at(0)(0, 0), c.dark) << c.band;
        EXPECT_EQ(exif.badPixels.at(0).size(), c.badPixels) << c.band;
        EXPECT_EQ(exif.vignetting.coefficients.rows(), 5) << c.band;
        EXPECT_NEAR(*exif.sensorTemperature, 32.0, 1.0) << c.band;
        EXPECT_EQ(exif.serialNumber, "PI040378AA6C000181") << c.band;
        EXPECT_FALSE(read.geo.position) << c.band;
    }
}

/// Vignetting of a real camera.
const char* const kVignetting =
    "0.000218235, 1.20722e-6, -2.8676e-9, 5.1742e-12, -4.16853e-15, 1.36962e-18";
const TagList kP4m = {{"Exif.Image.Make", {"DJI"}},
                      {"Exif.Image.Model", {"FC6360"}},
                      {"Exif.Image.ImageWidth", {"1600"}},
                      {"Exif.Image.ImageLength", {"1300"}},
                      {"Exif.Image.BlackLevel", {"4096"}},
                      {"Exif.Photo.ISOSpeed", {"200"}},
                      {"Exif.Photo.ExposureTime", {"1/100"}},
                      {"Xmp.drone-dji.ExposureTime", {"350"}},
                      {"Xmp.drone-dji.SensorGain", {"4.000"}},
                      {"Xmp.drone-dji.SensorGainAdjustment", {"1.6"}},
                      {"Xmp.drone-dji.VignettingData", {kVignetting}},
                      {"Xmp.drone-dji.CalibratedOpticalCenterX", {"700"}},
                      {"Xmp.drone-dji.CalibratedOpticalCenterY", {"650"}},
                      {"Xmp.Camera.Irradiance", {"7601.016113"}},
                      {"Xmp.Camera.IrradianceYaw", {"0.0"}},
                      {"Xmp.Camera.IrradiancePitch", {"0.0"}},
                      {"Xmp.Camera.IrradianceRoll", {"0.0"}},
                      {"Xmp.Camera.RadiometricCalibration", {"1.392108", "0.0", "0.0"}}};

TEST(DjiP4Multispectral, gainAndExposureAreTheMakersOwn) {
    const ImageMetadata read = interpret(tagFile(kP4m));
    const ExifInfo& exif = read.exif;
    EXPECT_TRUE(read.warnings.empty());
    EXPECT_DOUBLE_EQ(exif.exposureTime, 350e-6);
    EXPECT_EQ(exif.iso, 1);
    EXPECT_EQ(exif.sensitivity, std::vector<double>{2.5});
    EXPECT_EQ(exif.darkLevels.at(0)(0, 0), 4096.0);
    EXPECT_EQ(exif.storedRange, std::pair(0.0, 65472.0));
    ASSERT_TRUE(exif.clipLine); // the plateau less its spread
    EXPECT_NEAR(exif.clipLine->ofRow(0.0), 65400.0 - 130.0, 1e-9);
    EXPECT_NEAR(exif.clipLine->ofRow(1000.0), 65400.0 - 386.0 - 130.0, 1e-9);
    EXPECT_EQ(exif.sunIrradiance, std::vector<double>{7601.016113});
    EXPECT_FALSE(exif.sunSensorYawPitchRoll); // the zeros there mean nothing
    EXPECT_TRUE(std::isnan(exif.micaSense3kModel.k1));
    EXPECT_EQ(exif.vignetting.type, VignettingType::RadialPolynomial);
    EXPECT_EQ(exif.vignetting.centerX, 700.0);
    EXPECT_EQ(exif.vignetting.centerY, 650.0);
    // The brightness is the inverse of the factor, out to the corner farthest from the centre.
    const double r = std::hypot(1599.0 - 700.0, 650.0);
    const double factor =
        1.0 +
        r * (0.000218235 +
             r * (1.20722e-6 +
                  r * (-2.8676e-9 + r * (5.1742e-12 + r * (-4.16853e-15 + r * 1.36962e-18)))));
    EXPECT_NEAR(valueAt(exif.vignetting.coefficients, r) * factor, 1.0, 1e-5);
}

/// Tags as the maker's guide to image processing lists them.
const TagList kM3m = {
    {"Exif.Image.Make", {"DJI"}},
    {"Exif.Image.Model", {"M3M"}},
    {"Exif.Image.ImageWidth", {"2592"}},
    {"Exif.Image.ImageLength", {"1944"}},
    {"Exif.Photo.ISOSpeedRatings", {"100"}},
    {"Xmp.Camera.BlackCurrent", {"3200"}},
    {"Xmp.Camera.CentralWavelength", {"730"}},
    {"Xmp.Camera.WavelengthFWHM", {"16"}},
    {"Xmp.Camera.SunSensor", {"5000"}},
    {"Xmp.drone-dji.BlackLevel", {"3200"}},
    {"Xmp.drone-dji.BandName", {"RedEdge"}},
    {"Xmp.drone-dji.BandFreq", {"730(+/-16)nm"}},
    {"Xmp.drone-dji.ExposureTime", {"1250"}},
    {"Xmp.drone-dji.SensorGain", {"1.000"}},
    {"Xmp.drone-dji.SensorGainAdjustment", {"0.8"}},
    {"Xmp.drone-dji.VignettingData", {"1e-4, 1e-7"}},
    {"Xmp.drone-dji.CalibratedOpticalCenterX", {"1300"}},
    {"Xmp.drone-dji.CalibratedOpticalCenterY", {"970"}},
    {"Xmp.drone-dji.Irradiance", {"7601.016"}},
    {"Xmp.drone-dji.LS_status", {"2"}},
    {"Xmp.drone-dji.DewarpData", {"2022-08-11;2200,2201,10,-20,-0.1,0.2,1e-4,2e-4,-0.05"}},
    {"Xmp.drone-dji.CalibratedHMatrix", {"1,0,3,0,1,4,0,0,1"}},
    {"Xmp.drone-dji.RelativeOpticalCenterX", {"-3.5"}},
    {"Xmp.drone-dji.RelativeOpticalCenterY", {"7.25"}}};

TEST(DjiMavic3Multispectral, isReadAsTheMakersGuideSays) {
    const TagList level = {{"Xmp.Camera.BlackCurrent", {}}};
    for (const TagList& tags : {kM3m, changed(kM3m, level)}) {
        const ImageMetadata read =
            interpret(tagFile(changed(tags, {{"Exif.Photo.OffsetTimeOriginal", {"+00:00"}}})));
        const ExifInfo& exif = read.exif;
        EXPECT_TRUE(read.warnings.empty());
        ASSERT_EQ(exif.darkLevels.size(), 1U);
        EXPECT_EQ(exif.darkLevels[0](0, 0), 3200.0);
        EXPECT_DOUBLE_EQ(exif.exposureTime, 1250e-6);
        EXPECT_EQ(exif.iso, 1);
        EXPECT_EQ(exif.sensitivity, std::vector<double>{1.25});
        EXPECT_EQ(exif.bands.at(0), (BandInfo{730.0, 32.0})); // half a width is stated, twice
        EXPECT_EQ(exif.sunIrradiance,
                  std::vector<double>{7601.016}); // and not what the sensor read
        EXPECT_TRUE(exif.isSunIrradianceLevel);
        EXPECT_FALSE(exif.storedRange); // nobody knows
        const double r = 1000.0;
        EXPECT_NEAR(valueAt(exif.vignetting.coefficients, r) * (1.0 + 0.1 + 0.1), 1.0, 1e-5);
        EXPECT_EQ(exif.statedGeometry.lens.size(), 9U);
        EXPECT_EQ(exif.statedGeometry.lens.at(0), 2200.0);
        EXPECT_EQ(exif.statedGeometry.idealFromReal.value()(1, 2), 4.0);
        EXPECT_FALSE(exif.statedGeometry.colorFromIdeal);
        EXPECT_EQ(exif.statedGeometry.relativeOpticalCenter.value().y(), 7.25);
    }
}

TEST(DjiMavic3Multispectral, aReadingThatTheCameraCallsInvalidIsNone) {
    const ImageMetadata read = interpret(tagFile(changed(
        kM3m,
        {{"Xmp.drone-dji.LS_status", {"0"}}, {"Exif.Photo.OffsetTimeOriginal", {"+00:00"}}})));
    EXPECT_TRUE(read.exif.sunIrradiance.empty());
    EXPECT_EQ(read.warnings.size(), 1U);
    // Nor does the reading before compensation stand in for one that is missing.
    EXPECT_TRUE(interpret(tagFile(changed(kM3m, {{"Xmp.drone-dji.Irradiance", {}}})))
                    .exif.sunIrradiance.empty());
}

struct RefusalCase {
    const char* what;
    TagList changes;
    bool hasSensitivity;
    bool hasVignetting;
};

TEST(DjiP4Multispectral, whatLacksAPartOfTheChainIsMarkedAsNotToBeCorrected) {
    const std::string dji = "Xmp.drone-dji.";
    const RefusalCase cases[] = {
        {"no gain", {{dji + "SensorGain", {}}}, false, true},
        {"gain 0", {{dji + "SensorGain", {"0"}}}, false, true},
        {"no adjustment", {{dji + "SensorGainAdjustment", {}}}, false, true},
        {"no exposure", {{dji + "ExposureTime", {}}}, false, true},
        {"exposure of no number", {{dji + "ExposureTime", {"1/0"}}}, false, true},
        {"no dark level", {{"Exif.Image.BlackLevel", {}}}, true, true},
        {"no vignetting", {{dji + "VignettingData", {}}}, true, false},
        {"broken vignetting", {{dji + "VignettingData", {"1e-4,nan"}}}, true, false},
        {"factor runs through 0", {{dji + "VignettingData", {"-0.001"}}}, true, false},
        {"no centre", {{dji + "CalibratedOpticalCenterX", {}}}, true, false},
        {"centre outside", {{dji + "CalibratedOpticalCenterX", {"1600"}}}, true, false}};
    for (const RefusalCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(changed(kP4m, c.changes)));
        EXPECT_EQ(read.warnings.size(), 1U) << c.what;
        EXPECT_EQ(read.exif.radiometricIndicator, 0U) << c.what;
        EXPECT_EQ(!read.exif.sensitivity.empty(), c.hasSensitivity) << c.what;
        EXPECT_EQ(read.exif.vignetting.coefficients.size() > 0, c.hasVignetting) << c.what;
    }
    // The tags that all makers share stand in for the maker's own.
    const ImageMetadata shared =
        interpret(tagFile(changed(kP4m,
                                  {{dji + "VignettingData", {}},
                                   {dji + "CalibratedOpticalCenterX", {}},
                                   {"Xmp.Camera.VignettingPolynomial", {kVignetting}},
                                   {"Xmp.Camera.VignettingCenter", {"700", "650"}}})));
    EXPECT_TRUE(shared.warnings.empty());
    EXPECT_EQ(shared.exif.vignetting.coefficients,
              interpret(tagFile(kP4m)).exif.vignetting.coefficients);
    // The colour image of the same body has none of it, and nothing to complain of.
    TagFile colour = tagFile({{"Exif.Image.Make", {"DJI"}}, {"Exif.Image.Model", {"FC6360"}}});
    colour.isJpeg = true;
    EXPECT_TRUE(interpret(colour).warnings.empty());
}

struct P4mSample {
    int band;
    double center; ///< at column 800, row 650
    double corner; ///< at column 1594, row 5
    double irradiance;
};

TEST(DjiP4Multispectral, realImagesGiveTheMakersFormula) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    // F^2 (DN - dark) c(r) adjustment / (gain t), computed apart from this code.
    for (const P4mSample& c : {P4mSample{1, 48050158.8, 63515350.1, 7601.016},
                               {2, 143934335.0, 74091768.1, 11332.6},
                               {3, 77917781.1, 101458767.0, 9947.534},
                               {4, 294139643.0, 109450537.0, 7762.239},
                               {5, 357666172.0, 178054494.0, 7038.994}}) {
        const std::string path =
            (*samples / ("p4m/DJI_001" + std::to_string(c.band) + ".TIF")).string();
        const ImageMetadata read = readMetadata(path, {-4.0});
        const ExifInfo& exif = read.exif;
        EXPECT_TRUE(read.warnings.empty()) << c.band;
        EXPECT_EQ(read.geo.captureTime, 1591369260.0) << c.band; // 2020-06-05 15:01:00 UTC
        EXPECT_NEAR(exif.sunIrradiance.at(0), c.irradiance, 1e-3) << c.band;
        const image::Raster raster = image::Raster::open(path);
        const auto valueOf = [&](std::uint64_t x, std::uint64_t y) {
            const double signal = static_cast<double>(raster.readBlock(x, y, 1, 1).at(0)(0, 0)) -
                                  exif.darkLevels.at(0)(0, 0);
            const double r = std::hypot(static_cast<double>(x) - exif.vignetting.centerX,
                                        static_cast<double>(y) - exif.vignetting.centerY);
            return signal / valueAt(exif.vignetting.coefficients, r) * exif.apertureFNumber *
                   exif.apertureFNumber / (exif.exposureTime * exif.sensitivity.at(0) * exif.iso);
        };
        // 1e-5 is what the inverse of the vignetting factor is fitted to.
        EXPECT_NEAR(valueOf(800, 650) / c.center, 1.0, 1e-5) << c.band;
        EXPECT_NEAR(valueOf(1594, 5) / c.corner, 1.0, 1e-5) << c.band;
    }
}

struct FitCase {
    const char* what;
    std::vector<double> factor;
    double maxRadius;
    bool isPossible;
};

TEST(RadialFit, theInverseIsGoodToOneInAHundredThousandOrThereIsNone) {
    const FitCase cases[] = {
        {"flat", {1.0}, 1000.0, true},
        {"real", // measured: 8.7e-6 at degree 7, the factor at the corner 2.0
         {1.0, 0.000218235, 1.20722e-6, -2.8676e-9, 5.1742e-12, -4.16853e-15, 1.36962e-18},
         1030.7764,
         true},
        {"strong", {1.0, 0.0, 0.0, 0.0, 1e-11}, 1000.0, true},
        {"a pixel", {2.0, 1.0}, 0.5, true},
        {"pole near the axis", {1.0, -0.00399, 4e-6}, 1000.0, false},
        {"negative", {1.0, -0.002}, 1000.0, false},
        {"negative throughout", {-1.0}, 1000.0, false},
        {"not finite", {1.0, NAN}, 1000.0, false},
        {"nothing", {}, 1000.0, false},
        {"no radius", {1.0}, 0.0, false}};
    for (const FitCase& c : cases) {
        const Eigen::VectorXd factor = Eigen::Map<const Eigen::VectorXd>(
            c.factor.data(), static_cast<Eigen::Index>(c.factor.size()));
        const auto brightness = brightnessFromCorrection(factor, c.maxRadius);
        ASSERT_EQ(brightness.has_value(), c.isPossible) << c.what;
        for (int i = 0; brightness && i <= 1000; ++i) {
            const double r = c.maxRadius * i / 1000.0;
            ASSERT_NEAR(valueAt(*brightness, r) * valueAt(factor, r), 1.0, 1e-5) << c.what << r;
        }
    }
}

} // namespace
} // namespace tessik::exif
