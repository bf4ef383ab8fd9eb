#include "radiometry/config/CorrectionSelection.h"

#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"
#include "radiometry/sun/SunPosition.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessik::radiometry {
namespace {

using test::kNan;

constexpr double kInf = std::numeric_limits<double>::infinity();

/// An image with all that the richest correction needs.
InputImage richImage() {
    InputImage image;
    image.exif = test::plainExif(5, 3);
    image.exif.sensitivity = {0.3};
    image.exif.sunIrradiance = {1.2};
    image.exif.sunSensorRelativeOrientation = Eigen::Vector3f(0, 0, 0);
    image.exif.sunSensorYawPitchRoll = Eigen::Vector3d(10, 1, 2);
    image.geo.captureTime = 1.5e9;
    image.cameraId = 7;
    return image;
}

struct GuessCase {
    const char* what;
    void (*change)(InputImage& image);
    int guess;
    /// Flags for the types 1, 2, 3 and 4.
    std::array<unsigned, 4> missing;
};

TEST(Names, ofThePlatformAreFoundInsideTheLibrarysNamespace) {
    ExifInfo exif = test::plainExif(5, 3);
    EXPECT_FALSE(sequoia::isSequoia(exif));
    exif.make = QStringLiteral("Parrot");
    exif.model = QStringLiteral("Sequoia");
    EXPECT_TRUE(sequoia::isSequoia(exif));
    EXPECT_FALSE(sequoia::isSequoia(CameraData()));
    EXPECT_EQ(sequoia::ModelParameter().cmos.gain, 0.0);
    EXPECT_EQ(SunAngle(0.25, 0.5).elevation, 0.5);
}

TEST(CorrectionTypeSelection, theRichestTypeThatTheMetadataSupport) {
    const std::vector<GuessCase> cases = {
        {"everything", [](InputImage&) {}, 3, {0, 0, 0, 0}},
        {"indicator 1", [](InputImage& i) { i.exif.radiometricIndicator = 1; }, 3, {0, 0, 0, 0}},
        {"indicator 0", [](InputImage& i) { i.exif.radiometricIndicator = 0; }, 0, {0, 0, 0, 0}},
        {"indicator 2", [](InputImage& i) { i.exif.radiometricIndicator = 2; }, 0, {0, 0, 0, 0}},
        {"irradiance without sensitivity",
         [](InputImage& i) { i.exif.sensitivity.clear(); },
         3,
         {0, 0, 0, 0}},
        {"no relative orientation",
         [](InputImage& i) { i.exif.sunSensorRelativeOrientation.reset(); },
         2,
         {0, 0, 2, 0}},
        {"no absolute orientation",
         [](InputImage& i) { i.exif.sunSensorYawPitchRoll.reset(); },
         3,
         {0, 0, 0, 2}},
        {"no time", [](InputImage& i) { i.geo.captureTime = 0.0; }, 2, {0, 0, 4, 4}},
        {"time NaN", [](InputImage& i) { i.geo.captureTime = kNan; }, 3, {0, 0, 0, 0}},
        {"no irradiance", [](InputImage& i) { i.exif.sunIrradiance.clear(); }, 1, {0, 1, 1, 1}},
        {"irradiance of another band count",
         [](InputImage& i) {
             i.exif.sunIrradiance = {1.0, 2.0};
         },
         1,
         {0, 1, 1, 1}},
        {"irradiance 0", [](InputImage& i) { i.exif.sunIrradiance = {0.0}; }, 1, {0, 1, 1, 1}},
        {"irradiance below 0",
         [](InputImage& i) { i.exif.sunIrradiance = {-1.0}; },
         1,
         {0, 1, 1, 1}},
        {"irradiance NaN", [](InputImage& i) { i.exif.sunIrradiance = {kNan}; }, 1, {0, 1, 1, 1}},
        {"irradiance without end",
         [](InputImage& i) { i.exif.sunIrradiance = {std::numeric_limits<double>::infinity()}; },
         1,
         {0, 1, 1, 1}},
        {"nothing",
         [](InputImage& i) {
             i.exif = test::plainExif(5, 3);
             i.geo.captureTime = 0.0;
         },
         0,
         {0, 1, 7, 7}},
    };
    for (const GuessCase& c : cases) {
        InputImage image = richImage();
        c.change(image);
        EXPECT_EQ(static_cast<int>(guessRadiometricCorrectionTypeFromImage(image)), c.guess)
            << c.what;
        for (int type = 1; type <= 4; ++type) {
            EXPECT_EQ(static_cast<unsigned>(isInformationMissingForCorrection(
                          image, static_cast<CorrectionType>(type))),
                      c.missing[static_cast<std::size_t>(type) - 1])
                << c.what << ", type " << type;
        }
    }
}

TEST(CorrectionTypeSelection, oneImageThatSupportsLessLowersItsCamera) {
    std::vector<InputImage> images(3, richImage());
    images[1].exif.sunIrradiance.clear();
    images[2].cameraId = 8;
    EXPECT_EQ(static_cast<int>(guessRadiometricCorrectionTypeFromImage(images, 7)), 1);
    EXPECT_EQ(static_cast<int>(guessRadiometricCorrectionTypeFromImage(images, 8)), 3);
    EXPECT_EQ(static_cast<int>(guessRadiometricCorrectionTypeFromImage(images, 9)), 0);
}

TEST(CorrectionTypeSelection, invalidSensitivitiesAreNoRadiometricInformation) {
    ExifInfo exif = test::plainExif(5, 3, 2);
    for (const double bad : {0.0, -1.0, kInf, kNan}) {
        exif.sensitivity = {0.5, bad};
        EXPECT_FALSE(hasRadiometricInfo(exif)) << bad;
    }
    exif.sensitivity = {0.5, 0.1};
    EXPECT_TRUE(hasRadiometricInfo(exif));
}

TEST(CorrectionTypes, eachLevelIncludesThoseBelow) {
    for (int type = 0; type <= 4; ++type) {
        const auto t = static_cast<CorrectionType>(type);
        EXPECT_EQ(doAnyCorrection(t), type >= 1);
        EXPECT_EQ(doIrradianceCorrection(t), type >= 2);
        EXPECT_EQ(doSunAngleCorrection(t), type >= 3);
    }
}

TEST(ExposureMetadata, whatIsNotStatedIsNeutral) {
    ExifInfo exif = test::plainExif(5, 3, 2);
    EXPECT_EQ(readExposure(exif) * readIso(exif) * readApertureFNumber(exif), 1.0);
    exif.exposureTime = kNan;
    exif.iso = -5;
    exif.apertureFNumber = -1.0;
    EXPECT_EQ(readExposure(exif) * readIso(exif) * readApertureFNumber(exif), 1.0);
    exif.exposureTime = 0.01;
    exif.iso = 100;
    exif.apertureFNumber = 2.8;
    EXPECT_DOUBLE_EQ(
        opticalCorrection(readApertureFNumber(exif), readExposure(exif), readIso(exif), 1.0), 7.84);
    exif.sensitivity = {2.0};
    EXPECT_TRUE((readSensitivity(exif) == Eigen::Array2d(1.0, 1.0)).all());
    exif.sensitivity = {2.0, kInf};
    EXPECT_TRUE((readSensitivity(exif) == Eigen::Array2d(1.0, 1.0)).all());
    exif.sensitivity = {2.0, 4.0};
    EXPECT_TRUE((readSensitivity(exif) == Eigen::Array2d(2.0, 4.0)).all());
}

struct RangeCase {
    double min, max;
    double expectedMin, expectedMax;
};

TEST(ExposureMetadata, theCamerasOwnRangeIsHonoured) {
    test::ImageSetup setup(test::plainExif(5, 3));
    for (const RangeCase& c : {RangeCase{0, 65520, 0, 65520},
                               {100, 4000, 100, 4000},
                               {500, 500, 0, 65535}, // no range at all
                               {500, 100, 0, 65535}}) {
        setup.camera.storedRange = {c.min, c.max};
        const PixelValueRange range = originalPixelRange(setup.image.exif, setup.camera);
        EXPECT_EQ(range.min, c.expectedMin);
        EXPECT_EQ(range.max, c.expectedMax);
    }
    setup.image.exif.pixelType = DataType::UInt8;
    setup.camera.storedRange = {16.0, 235.0};
    EXPECT_EQ(originalPixelRange(setup.image.exif, setup.camera).min, 16.0);
    EXPECT_EQ(originalPixelRange(setup.image.exif, setup.camera).max, 235.0);
    setup.image.exif.pixelType = DataType::UInt16;
    for (const auto& outside : {std::pair(-1.0, 100.0), std::pair(0.0, 65536.0)}) {
        setup.camera.storedRange = outside;
        EXPECT_EQ(test::messageOf<error>(
                      [&] { (void)originalPixelRange(setup.image.exif, setup.camera); }),
                  "Inconsistent pixel range found in DB");
    }
}

TEST(ExposureMetadata, eightBitSequoiaImagesCountAsSixteenBits) {
    ExifInfo exif = test::plainExif(5, 3);
    exif.pixelType = DataType::UInt8;
    EXPECT_EQ(fixedPixeltypeForCamera(exif), DataType::UInt8);
    exif.make = QStringLiteral("Parrot");
    exif.model = QStringLiteral("Sequoia");
    EXPECT_EQ(fixedPixeltypeForCamera(exif), DataType::UInt16);
}

TEST(Consistency, bandCountsMustAgree) {
    EXPECT_TRUE(verifyConsistentNumberOfBands(4, 4, QStringLiteral("X")));
    EXPECT_EQ(
        test::messageOf<error>(
            [] { verifyConsistentNumberOfBands(3, 4, QStringLiteral("Masking bad pixels")); }),
        "Masking bad pixels: invalid number of bands, found 3 but expected 4 from image metadata");
}

TEST(Consistency, blocksMustDivideBothAxesEquallyOften) {
    EXPECT_TRUE(verifyConsistentMatrixBlocks(400, 400, 200, 200, QStringLiteral("X")));
    EXPECT_TRUE(verifyConsistentMatrixBlocks(400, 600, 100, 150, QStringLiteral("X")));
    for (const auto& [rows, cols] :
         {std::pair(400, 600), std::pair(401, 401), std::pair(400, 401)}) {
        EXPECT_EQ(test::messageOf<error>([rows = rows, cols = cols] {
                      verifyConsistentMatrixBlocks(rows, cols, 200, 200, QStringLiteral("X"));
                  }),
                  "X: matrix (" + std::to_string(rows) + "," + std::to_string(cols) +
                      ") cannot be divided in blocks of (200,200)");
    }
}

} // namespace
} // namespace tessik::radiometry
