#include "platform/camera/InputImage.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/image/Raster.h"
#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessik::radiometry::detail {
namespace {

using test::TemporaryFolder;

image::Ring rectangle(int left, int top, int right, int bottom) {
    return {{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}};
}

/// An image of one band on disk, to be measured.
struct TargetImage {
    TargetImage(ExifInfo metadata, const BandMatrix& pixels) : exif(std::move(metadata)) {
        image::writeUInt16Raster(path(), {pixels});
    }

    [[nodiscard]] std::string path() const { return folder.file("target.tif"); }
    [[nodiscard]] CalibrationTargetReader reader(const image::Ring& region) const {
        const CameraData camera{"cam", {}, {}, {}, exif::cameraParams(exif)};
        return {QString::fromStdString(path()), 0, region, camera, exif, {}, {}};
    }
    [[nodiscard]] std::vector<double>
    sensitivity(const image::Ring& region,
                double reflectance,
                CorrectionType type = CorrectionType::NoCorrection) const {
        CalibrationTargetReader target = reader(region);
        return sensitivityFromDisk(
            target, {reflectance}, Eigen::ArrayXd(), {type}, geo::ProjectCoordinateSystems(), {});
    }
    [[nodiscard]] std::string failure(const image::Ring& region, double reflectance = 0.5) const {
        return test::messageOf<error>([&] { (void)sensitivity(region, reflectance); });
    }

    TemporaryFolder folder;
    ExifInfo exif;
};

TEST(SensitivityFromDisk, isTheMeanOverTheRegionDividedByTheReflectance) {
    // 1 .. 35, row after row, seven in a row. A pixel on the edge belongs to the region.
    const TargetImage target(test::plainExif(7, 5), test::ramp(5, 7));
    const image::Ring triangle = {{2, 1}, {4, 1}, {2, 3}, {2, 1}};
    const double mean = (10.0 + 11.0 + 12.0 + 17.0 + 18.0 + 24.0) / 6.0;
    const test::LogCapture log;
    EXPECT_NEAR(target.sensitivity(triangle, 0.25).at(0), mean / 0.25, 1e-9);
    EXPECT_EQ(log.count(logging::kInfo, "Disk calibration for cam using " + target.path()), 1);
    EXPECT_EQ(log.count(logging::kInfo, "Reflectance factor 0.25"), 1);
    EXPECT_THAT(log.all(), testing::HasSubstr("Mean corrected pixel value 15.3333, std dev 5."));
    EXPECT_THAT(log.all(), testing::HasSubstr(", sensitivity 61.3333\n"));
}

TEST(SensitivityFromDisk, takesReflectancesThatAreDefined) {
    const TargetImage target(test::plainExif(7, 5), test::ramp(5, 7));
    const image::Ring region = rectangle(1, 1, 3, 3);
    EXPECT_EQ(target.failure(region, 0.00011), "no error");
    for (const double undefined : {0.0001, -0.0001, 0.0, std::nan("")}) {
        EXPECT_EQ(target.failure(region, undefined), "Some reflectance factors are undefined.")
            << undefined;
    }
    CalibrationTargetReader reader = target.reader(region);
    EXPECT_EQ(test::messageOf<error>([&] {
                  (void)sensitivityFromDisk(reader, {0.5, 0.5}, {}, {}, {}, nullptr);
              }),
              "Reflectance factors: invalid number of bands, found 2 but expected 1 from image "
              "metadata");
}

TEST(SensitivityFromDisk, refusesRegionsItCannotMeasure) {
    const TargetImage target(test::plainExif(7, 5), test::ramp(5, 7));
    EXPECT_EQ(target.failure(rectangle(0, 0, 6, 4)), "no error");
    EXPECT_EQ(target.failure(rectangle(1, 1, 3, 1)), "no error");
    EXPECT_EQ(target.failure(rectangle(1, 1, 2, 1)), "Not enough valid pixels for band 0");
    EXPECT_EQ(target.failure({}), "Empty image region");
    EXPECT_EQ(target.failure({{1, 1}, {4, 4}, {4, 1}, {1, 4}, {1, 1}}),
              "Image region: the polygon crosses itself");
    for (const image::Ring& outside : {rectangle(-1, 0, 3, 3),
                                       rectangle(0, -1, 3, 3),
                                       rectangle(0, 0, 7, 3),
                                       rectangle(0, 0, 6, 5)}) {
        EXPECT_EQ(target.failure(outside), "Unable to read image '" + target.path() + "'.");
    }
    std::filesystem::remove(target.path());
    EXPECT_THAT(target.failure(rectangle(1, 1, 3, 3)),
                testing::StartsWith("Unable to open image file '" + target.path() + "': "));
}

TEST(SensitivityFromDisk, bearsFivePercentOfInvalidPixels) {
    // A zero is not above the range of the samples: invalid.
    BandMatrix pixels = BandMatrix::Constant(100, 100, 1000.0F);
    pixels.leftCols(5).setZero();
    const TargetImage good(test::plainExif(100, 100), pixels);
    EXPECT_DOUBLE_EQ(good.sensitivity(rectangle(0, 0, 99, 99), 0.5).at(0), 2000.0);
    EXPECT_EQ(good.failure(rectangle(0, 0, 98, 98)),
              "Too many invalid pixels (5.05051% > 5%) for band 0");
    pixels(50, 50) = 0.0F;
    const TargetImage bad(test::plainExif(100, 100), pixels);
    EXPECT_EQ(bad.failure(rectangle(0, 0, 99, 99)),
              "Too many invalid pixels (5.01% > 5%) for band 0");
}

double rowExposure(const ExifInfo& exif, int row) {
    const auto& [k1, k2] = exif.micaSense3kModel;
    return exif.exposureTime + k1 * row - k2 * exif.exposureTime * row;
}

// A surface of one reflectance, by the maker's formula: the exposure grows by two thirds over the
// image, and dark level, vignetting and bad pixels belong to places of the whole image.
TEST(SensitivityFromDisk, rowsAndBadPixelsAreThoseOfTheWholeImage) {
    constexpr int kWidth = 64;
    constexpr int kHeight = 240;
    constexpr double kIrradiance = 0.12; // below saturation
    constexpr double kReflectance = 0.52;
    const ExifInfo plain = test::redEdgeExif(kWidth, kHeight);
    ExifInfo exif = plain;
    exif.micaSense3kModel = {4e-6, 1e-5};
    exif.badPixels = {{{30, 205}, {9, 4}}};
    exif.sunIrradiance = {kIrradiance};
    BandMatrix pixels(kHeight, kWidth);
    for (int r = 0; r < kHeight; ++r) {
        for (int c = 0; c < kWidth; ++c) {
            const auto dark = static_cast<float>(exif.darkLevels[0](r % 2, c % 2));
            ExifInfo good = exif;
            good.badPixels = {{}};
            // The oracle's exposure is that of the plain camera.
            const double slope = test::redEdgeOracle(good, dark + 1000.0F, c, r) / 1000.0 *
                                 rowExposure(plain, r) / rowExposure(exif, r);
            pixels(r, c) = dark + static_cast<float>(655.36 * kReflectance * kIrradiance / slope);
        }
    }
    pixels(205, 30) = 60000.0F;
    const TargetImage target(exif, pixels);
    const image::Ring low = rectangle(20, 190, 50, 230);
    const double sensitivity =
        target.sensitivity(low, kReflectance, CorrectionType::CameraAndSunIrradiance).at(0);
    EXPECT_NEAR(sensitivity / 655.36, 1.0, 1e-3);

    CalibrationTargetReader reader = target.reader(low);
    const RegionMeasurement measured = measureRegion(
        reader, {kReflectance}, {}, {CorrectionType::CameraAndSunIrradiance}, {}, nullptr);
    EXPECT_EQ(measured.pixelCount[0], 31 * 41);
    EXPECT_EQ(measured.validCount[0], 31 * 41 - 1);
    // What is left is the rounding to whole numbers: no row stands out.
    EXPECT_LT(measured.stdDev[0] / measured.mean[0], 1e-3);
}

TEST(SensitivityFromDisk, levelsTheCameraAtItsPosition) {
    GeoData geo;
    geo.position = GeoPosition{46.5, 6.6, std::nan("")};
    geo::ProjectCoordinateSystems systems;
    EXPECT_EQ(test::messageOf<error>([&] { horizontalCameraAtGpsPosition(geo, systems); }),
              "Unable to convert from WGS-84 to output coordinate system");
    systems.output = geo::OutCoordSystem(geo::CoordSystem::localAt({46.5, 6.6, 0.0}),
                                         Eigen::Vector3d(10.0, 20.0, 30.0));
    const GlobalShutter pose = horizontalCameraAtGpsPosition(geo, systems);
    EXPECT_TRUE(pose.position.isApprox(Eigen::Vector3d(-10.0, -20.0, -30.0), 1e-6));
    // East to the right, north at the upper edge, looking down.
    EXPECT_TRUE(pose.rotation.isIdentity(1e-6)) << pose.rotation;
    EXPECT_EQ(test::messageOf<error>([&] { horizontalCameraAtGpsPosition({}, systems); }),
              "No GPS position");
}

TEST(Candidates, areTheFirstAndLastImagesOfEachCameraByTime) {
    std::vector<InputImage> images(8);
    const double times[] = {30, 10, 20, 40, 5, 1, 0, 50};
    const std::uint64_t cameras[] = {1, 1, 1, 1, 2, 3, 3, 1};
    for (std::size_t i = 0; i < images.size(); ++i) {
        images[i].geo.captureTime = times[i];
        images[i].cameraId = cameras[i];
    }
    images[7].enabled = false;
    using Indices = std::vector<std::uint64_t>;
    auto found = findFirstAndLastImagesPerSensor(images);
    EXPECT_EQ(found.size(), 3U);
    EXPECT_EQ(found[1], (Indices{1, 3}));
    EXPECT_EQ(found[2], (Indices{4}));
    EXPECT_EQ(found[3], (Indices{5, 6})); // one without a time: in order as they stand
    EXPECT_EQ(findFirstAndLastImagesPerSensor(images, 3)[1], (Indices{1, 2, 0, 3}));
}

} // namespace
} // namespace tessik::radiometry::detail
