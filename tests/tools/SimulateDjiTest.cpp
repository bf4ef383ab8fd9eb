#include "platform/exif/TagFile.h"
#include "simulate/DjiCamera.h"
#include "simulate/Scene.h"
#include "tools/RenderedFlight.h"

#include <algorithm>
#include <map>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;

/// What an inversion deliberately leaves out.
struct DjiFault {
    bool dropsVignetting = false;
    bool dropsGain = false;
    bool dropsAdjustment = false;
};

/// Applies the maker's formula to the file's samples and tags only, pixel by pixel:
/// (DN - dark) c(r) adjustment / (gain t) / irradiance, c = 1 + k0 r + .. + k5 r^6.
/// @param limit of a row: samples at or above it are clipped
BandMatrix
invertDji(const fs::path& file, double (*limit)(Eigen::Index row), const DjiFault& fault) {
    const exif::Tags tags = exif::readTags(file).tags;
    const auto tag = [&tags](const char* name) {
        return tags.xmpNumber("drone-dji", name).value();
    };
    const std::vector<double> k = tags.xmpNumbers("drone-dji", "VignettingData");
    const double dark = tags.exifNumber("Exif.Image.BlackLevel")
                            .value_or(tags.xmpNumber("drone-dji", "BlackLevel").value_or(-1.0));
    const double factor = (fault.dropsAdjustment ? 1.0 : tag("SensorGainAdjustment")) /
                          (fault.dropsGain ? 1.0 : tag("SensorGain")) / tag("ExposureTime") /
                          tag("Irradiance");
    BandMatrix image = image::Raster::open(file).read().at(0);
    for (Eigen::Index row = 0; row < image.rows(); ++row) {
        const double dy = static_cast<double>(row) - tag("CalibratedOpticalCenterY");
        const double limitOfRow = limit(row);
        for (Eigen::Index column = 0; column < image.cols(); ++column) {
            const double r =
                std::hypot(static_cast<double>(column) - tag("CalibratedOpticalCenterX"), dy);
            double c = 1.0;
            double power = 1.0;
            for (const double coefficient : k) {
                power *= r;
                c += fault.dropsVignetting ? 0.0 : coefficient * power;
            }
            const auto sample = static_cast<double>(image(row, column));
            image(row, column) = sample > dark && sample < limitOfRow
                                     ? static_cast<float>(factor * (sample - dark) * c)
                                     : kNoData;
        }
    }
    return image;
}

double limitOfP4m(Eigen::Index row) {
    return 65400.0 - 0.386 * static_cast<double>(row) - 130.0;
}
double limitOfM3m(Eigen::Index /*row*/) {
    return 65200.0;
}

struct DjiCase {
    CameraModel camera;
    Sky sky;
    std::size_t bandCount;
    double scale; ///< result a unit of reflectance
    double (*limit)(Eigen::Index row);
    double unexpectedShare; ///< that such a limit may mask for nothing
};

class DjiFlight : public RenderedFlight, public testing::WithParamInterface<DjiCase> {
protected:
    DjiFlight() : RenderedFlight(optionsOf(GetParam())) {}

    std::vector<BandResult> judged(const DjiFault& fault) {
        return inverted(
            [&fault](const fs::path& file) { return invertDji(file, GetParam().limit, fault); },
            Target::Reflectance);
    }
    [[nodiscard]] exif::Tags tagsOf(const nlohmann::json& record) const {
        const exif::TagFile file =
            exif::readTags(flight / kImagesFolder / record.at("file").get<std::string>());
        EXPECT_TRUE(file.warnings.empty());
        return file.tags;
    }

private:
    static FlightOptions optionsOf(const DjiCase& flown) {
        FlightOptions options = smallFlight(flown.camera, flown.sky);
        options.clearSky.sensorNoise = 0.0;
        if (flown.sky == Sky::Clear) {
            options.intervalSeconds = 20.0; // one of the captures is in a turn
        }
        return options;
    }
};

// Both unknown numbers of a camera, per microsecond: 4.5e8 / 6500 and 3e8 / 9000.
constexpr double kP4mScale = 4.5e2 / 6500.0 / kPi;
constexpr double kM3mScale = 3.0e2 / 9000.0 / kPi;
INSTANTIATE_TEST_SUITE_P(
    Simulate,
    DjiFlight,
    testing::Values(DjiCase{CameraModel::P4m, Sky::Changing, 5, kP4mScale, limitOfP4m, 1e-4},
                    DjiCase{CameraModel::P4m, Sky::Clear, 5, kP4mScale, limitOfP4m, 1e-4},
                    DjiCase{CameraModel::M3m, Sky::Changing, 4, kM3mScale, limitOfM3m, 0.0},
                    DjiCase{CameraModel::M3m, Sky::Clear, 4, kM3mScale, limitOfM3m, 0.0}),
    [](const testing::TestParamInfo<DjiCase>& flown) {
        return std::string(flown.param.camera == CameraModel::P4m ? "P4m" : "M3m") +
               (flown.param.sky == Sky::Clear ? "Clear" : "Changing");
    });

TEST_P(DjiFlight, theMakersFormulaGivesReflectanceTimesOneNumberForAllBands) {
    expectTruth(judged({}), GetParam().bandCount, GetParam().scale, GetParam().unexpectedShare);
}

TEST_P(DjiFlight, whatACorrectionLeftOutShows) {
    for (const BandResult& result : judged({true, false, false})) {
        EXPECT_LT(result.bias, -1.0) << result.band;
        EXPECT_GT(result.rmsRatio(), 2.0) << result.band;
    }
    double worstGain = 0.0;
    for (const BandResult& result : judged({false, true, false})) {
        worstGain = std::max(worstGain, std::abs(result.worstCaptureBias));
    }
    EXPECT_GT(worstGain, 0.5);
    const std::vector<BandResult> unadjusted = judged({false, false, true});
    EXPECT_GT(std::abs(unadjusted[0].scale / unadjusted[1].scale - 1.0), 0.2);
}

/// Every file states what such files state, and nothing else.
TEST_P(DjiFlight, whatTheFilesStateIsOfSuchACamera) {
    const bool isP4m = GetParam().camera == CameraModel::P4m;
    double largestShare = 0.0;
    for (const auto& record : manifest.at("files")) {
        SCOPED_TRACE(record.at("file"));
        const exif::Tags tags = tagsOf(record);
        EXPECT_EQ(tags.exifText("Exif.Image.Make"), "DJI");
        EXPECT_EQ(tags.exifText("Exif.Image.Model"), isP4m ? "FC6360" : "M3M");
        const auto xmp = [&tags](const char* name) { return tags.xmpText("drone-dji", name); };
        // The files state half widths under the name of full ones.
        const double wavelength = record.at("wavelength_nm");
        const std::string half = wavelength > 800.0 ? "26" : "16";
        EXPECT_EQ(xmp("BandFreq"), std::to_string(std::lround(wavelength)) + "(+/-" + half + ")nm");
        EXPECT_EQ(tags.xmpText("Camera", "WavelengthFWHM"), half);
        EXPECT_EQ(tags.xmpText("Camera", "BlackCurrent"), isP4m ? "4096" : "3200");
        EXPECT_EQ(tags.exifNumber("Exif.Image.BlackLevel").has_value(), isP4m);
        EXPECT_DOUBLE_EQ(tags.xmpNumber("drone-dji", "ExposureTime").value() * 1e-6,
                         record.at("exposure_s"));
        EXPECT_EQ(tags.xmpNumbers("Camera", "VignettingPolynomial"),
                  tags.xmpNumbers("drone-dji", "VignettingData"));
        EXPECT_EQ(tags.xmpText("Camera", "InvalidPixel"), "");
        EXPECT_EQ(record.at("bad_pixels"), 0);
        for (const char* angle : {"IrradianceYaw", "IrradiancePitch", "IrradianceRoll"}) {
            EXPECT_EQ(tags.xmpNumber("Camera", angle), 0.0);
        }
        largestShare = std::max(largestShare,
                                record.at("saturated_pixels").get<double>() /
                                    static_cast<double>(options.width * options.height));
    }
    EXPECT_GT(largestShare, 5e-4);
}

/// One image of a camera in front of one reflectance.
Frame imageOf(const Camera& camera, const CameraOptions& options, double reflectance) {
    Shot shot;
    shot.band = 1;
    shot.irradiance = 1.3;
    shot.readings = {1.1, 1.2, 1.3, 1.4};
    shot.reading.irradiance = shot.readings[1];
    shot.reading.level = shot.irradiance;
    shot.station.microseconds = ((19 * 60LL + 5) * 60 + 7) * 1000000 + 45678;
    shot.reflectance =
        BandMatrix::Constant(options.height, options.width, static_cast<float>(reflectance));
    return camera.take(shot, true);
}

/// The tags as they are read back from a file.
exif::Tags written(const Frame& frame) {
    const test::TemporaryFolder folder;
    const std::string file = folder.file("image.tif");
    image::writeUInt16Raster(file, {frame.samples});
    exif::writeTags(file, frame.tags);
    return exif::readTags(file).tags;
}

TEST(SimulateP4m, pixelsClipAtAPlateauThatFallsWithTheRowAndSpreads) {
    const CameraOptions options{160, 1300, 3, 1.0};
    const Frame frame = imageOf(*makeP4m(options), options, Scene::kGlint);
    ASSERT_EQ(frame.saturatedPixels, 160U * 1300U);
    // A straight line through the samples, by least squares.
    const Eigen::ArrayXXd samples = frame.samples.cast<double>().array();
    const Eigen::ArrayXd rows = Eigen::ArrayXd::LinSpaced(1300, 0.0, 1299.0);
    const Eigen::ArrayXd means = samples.rowwise().mean();
    const Eigen::ArrayXd centred = rows - rows.mean();
    const double slope = (centred * (means - means.mean())).sum() / centred.square().sum();
    // The spread of a pixel and its rounding to 64 give 38, over 208,000 pixels and a line of 375
    // rows.
    EXPECT_NEAR(slope, -0.386, 5.0 * 38.0 / 456.0 / 375.0);
    EXPECT_NEAR(means.mean() - slope * rows.mean(), 65400.0, 1.0);
    const Eigen::ArrayXXd deviations = samples.colwise() - (65400.0 - 0.386 * rows);
    EXPECT_NEAR(
        std::sqrt(deviations.square().mean()), std::hypot(33.0, 64.0 / std::sqrt(12.0)), 1.0);
    EXPECT_LE(deviations.abs().maxCoeff(), 130.0);
    EXPECT_TRUE((samples == (samples / 64.0).floor() * 64.0).all());
    EXPECT_LE(samples.maxCoeff(), 65472.0);
    EXPECT_GE(samples.minCoeff(), 64832.0);
}

TEST(SimulateP4m, theTruthKnowsWhichPixelsWereClippedWhereStoredValuesDoNotTell) {
    // Without noise, in steps around the plateau.
    const CameraOptions options{160, 120, 1, 0.0};
    const std::unique_ptr<Camera> camera = makeP4m(options);
    std::map<float, std::pair<int, int>> counts; // clipped and not, of each stored value
    for (double reflectance = 1.0; reflectance < 2.5; reflectance *= 1.004) {
        const Frame frame = imageOf(*camera, options, reflectance);
        std::size_t clipped = 0;
        for (Eigen::Index i = 0; i < frame.samples.size(); ++i) {
            const bool isClipped = std::isinf(frame.relativeDeviation.data()[i]);
            auto& [yes, no] = counts[frame.samples.data()[i]];
            (isClipped ? yes : no) += 1;
            clipped += isClipped ? 1 : 0;
        }
        EXPECT_EQ(frame.saturatedPixels, clipped);
    }
    const auto& [clipped, notClipped] = counts.at(65344.0F);
    EXPECT_GT(clipped, 1000);
    EXPECT_GT(notClipped, 1000);
    EXPECT_EQ(counts.at(65152.0F).first, 0); // more than 130 and half a step below
    EXPECT_EQ(counts.count(65536.0F), 0U);
}

TEST(SimulateP4m, theTimeIsLocalInWholeSecondsAndHasNoZone) {
    const CameraOptions options{16, 16, 1, 1.0};
    const std::unique_ptr<Camera> camera = makeP4m(options);
    const exif::Tags tags = written(imageOf(*camera, options, 0.3));
    EXPECT_EQ(tags.exifText("Exif.Photo.DateTimeOriginal"), "2024:06:21 12:05:07");
    for (const char* key : {"Exif.Photo.SubSecTime",
                            "Exif.Photo.OffsetTimeOriginal",
                            "Exif.GPSInfo.GPSDateStamp",
                            "Exif.GPSInfo.GPSTimeStamp"}) {
        EXPECT_EQ(tags.exif(key), nullptr) << key;
    }
    EXPECT_EQ(camera->fileName(0, 0), "DJI_0011.TIF");
    EXPECT_EQ(camera->fileName(11, 4), "DJI_0125.TIF");
}

TEST(SimulateM3m, theTimeIsUtcWithStampsAndTheLightIsStatedBeforeAndAfterCompensation) {
    const CameraOptions options{16, 16, 1, 1.0};
    const std::unique_ptr<Camera> camera = makeM3m(options);
    const exif::Tags tags = written(imageOf(*camera, options, 0.3));
    EXPECT_EQ(tags.exifText("Exif.Photo.DateTimeOriginal"), "2024:06:21 19:05:07");
    EXPECT_EQ(tags.exifText("Exif.GPSInfo.GPSDateStamp"), "2024:06:21");
    EXPECT_EQ(tags.exifNumbers("Exif.GPSInfo.GPSTimeStamp"), (std::vector<double>{19, 5, 7}));
    EXPECT_EQ(tags.xmpText("drone-dji", "UTCAtExposure"), "2024-06-21T19:05:07.045678");
    EXPECT_EQ(tags.xmpText("drone-dji", "LS_status"), "2");
    const std::vector<double> channels = tags.xmpNumbers("drone-dji", "RawData");
    ASSERT_EQ(channels.size(), 4U);
    EXPECT_EQ(tags.xmpNumber("Camera", "SunSensor"), channels[1]);
    EXPECT_NEAR(tags.xmpNumber("drone-dji", "Irradiance").value(), 9000.0 * 1.3, 1e-3);
    EXPECT_EQ(tags.xmpNumbers("drone-dji", "CalibratedHMatrix"),
              (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    EXPECT_EQ(camera->fileName(0, 2), "DJI_20240621190000_0001_MS_RE.TIF");
}

TEST(SimulateM3m, theCorrectionIsTheMakersExample) {
    const CameraOptions options{324, 243, 1, 1.0};
    const exif::Tags tags = written(imageOf(*makeM3m(options), options, 0.3));
    const std::vector<double> k = tags.xmpNumbers("drone-dji", "VignettingData");
    ASSERT_EQ(k.size(), 6U);
    const auto correction = [&k](double r) {
        double c = 1.0;
        for (std::size_t i = 0; i < k.size(); ++i) {
            c += k[i] * std::pow(r, static_cast<double>(i + 1));
        }
        return c;
    };
    // The image is an eighth of the camera's own size, 2592 x 1944.
    EXPECT_NEAR(correction(400.0 / 8.0), 1.09, 1e-6);
    EXPECT_NEAR(correction(1200.0 / 8.0), 1.72, 1e-6);
    EXPECT_NEAR(correction(1620.0 / 8.0), 3.60, 1e-6);
}

} // namespace
} // namespace tessik::simulate
