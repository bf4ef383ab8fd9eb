#include "platform/exif/ExifReader.h"
#include "support/Support.h"

#include <gtest/gtest.h>

namespace tessik::exif {
namespace {

CalibrationDonor donor() {
    CalibrationDonor result{"new/IMG_1.tif", test::plainExif(40, 30)};
    ExifInfo& exif = result.exif;
    exif.make = "MicaSense";
    exif.serialNumber = "RM01-1";
    exif.bands = {{475.0, 20.0}};
    exif.sensitivity = {0.25};
    exif.micaSense3kModel = {1e-7, 2e-5};
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.coefficients = Eigen::Vector2d(1.0, -1e-4);
    return result;
}

/// An image like the donor's, of a firmware that wrote no calibration.
ImageMetadata bare() {
    ImageMetadata metadata;
    metadata.exif = donor().exif;
    metadata.exif.sensitivity.clear();
    metadata.exif.micaSense3kModel = {};
    metadata.exif.vignetting = {};
    return metadata;
}

TEST(BorrowedCalibration, fillsGapsAndSaysSo) {
    ImageMetadata all = bare();
    borrowCalibration({donor()}, all);
    EXPECT_EQ(all.exif.sensitivity, donor().exif.sensitivity);
    EXPECT_EQ(all.exif.micaSense3kModel.k1, 1e-7);
    EXPECT_EQ(all.exif.vignetting.coefficients, donor().exif.vignetting.coefficients);
    EXPECT_EQ(all.warnings,
              std::vector<std::string>{"Calibration tags (sensitivity, vignetting, radiance "
                                       "calibration) are taken from new/IMG_1.tif"});
    ImageMetadata some = bare();
    some.exif.sensitivity = {0.5};
    borrowCalibration({donor()}, some);
    EXPECT_EQ(some.exif.sensitivity, std::vector<double>{0.5}); // what the image states holds
    EXPECT_GT(some.exif.vignetting.coefficients.size(), 0);
    ImageMetadata whole;
    whole.exif = donor().exif;
    borrowCalibration({donor()}, whole);
    EXPECT_TRUE(whole.warnings.empty());
}

TEST(BorrowedCalibration, isOfTheSameBodyAndBandOnly) {
    const auto changed = [](auto&& change) {
        ImageMetadata metadata = bare();
        change(metadata.exif);
        borrowCalibration({donor()}, metadata);
        return std::pair(metadata.exif.sensitivity.empty(), metadata.warnings.size());
    };
    const auto refused = std::pair(true, std::size_t{1});
    EXPECT_EQ(changed([](ExifInfo& exif) { exif.serialNumber = "RM01-2"; }), refused);
    EXPECT_EQ(changed([](ExifInfo& exif) { exif.bands = {{560.0, 20.0}}; }), refused);
    EXPECT_EQ(changed([](ExifInfo& exif) { exif.imageWidth = 80; }), refused);
    EXPECT_EQ(changed([](ExifInfo& exif) { exif.make = "Other"; }), refused);
    // Temperatures need no calibration.
    EXPECT_EQ(changed([](ExifInfo& exif) { exif.isThermal = true; }),
              std::pair(true, std::size_t{0}));
}

} // namespace
} // namespace tessik::exif
