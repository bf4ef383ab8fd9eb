#include "platform/camera/TargetDetector.h"
#include "platform/exif/ExifReader.h"
#include "platform/exif/TagFile.h"
#include "platform/panel/Detectors.h"
#include "simulate/Course.h"
#include "simulate/MicaSenseCamera.h"
#include "tools/RenderedFlight.h"

#include <algorithm>
#include <set>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;

/// The polynomial that a file states, written out: x = column / width, y = row / height.
double planeValue(const std::vector<double>& powers,
                  const std::vector<double>& terms,
                  double x,
                  double y) {
    double sum = 0.0;
    for (std::size_t i = 0; i < terms.size(); ++i) {
        double term = terms[i];
        for (double k = 0.0; k < powers.at(2 * i); ++k) {
            term *= x;
        }
        for (double k = 0.0; k < powers.at(2 * i + 1); ++k) {
            term *= y;
        }
        sum += term;
    }
    return sum;
}

/// What an inversion deliberately does wrong.
struct RedEdgePFault {
    bool keepsRowTerm = false;
    bool keepsVignetting = false;
    bool takesTiltedReading = false;
    double clip = 65504.0;
};

/// Reflectance from the file's samples and tags only, pixel by pixel: pi L / E with
/// L = V (a1 / gain) (DN - dark) / 65536 / (t + a2 y - a3 t y) and E the level irradiance.
BandMatrix reflectanceOf(const fs::path& file, const RedEdgePFault& fault) {
    const exif::Tags tags = exif::readTags(file).tags;
    const std::vector<double> a = tags.xmpNumbers("MicaSense", "RadiometricCalibration");
    const std::vector<double> powers = tags.xmpNumbers("Camera", "VignettingPolynomial2DName");
    const std::vector<double> terms = tags.xmpNumbers("Camera", "VignettingPolynomial2D");
    const std::vector<double> bad = tags.xmpNumbers("Camera", "InvalidPixel");
    const double dark = tags.exifNumber("Exif.Image.BlackLevel").value();
    const double t = tags.exifNumber("Exif.Photo.ExposureTime").value();
    const double gain = tags.exifNumber("Exif.Photo.ISOSpeed").value() / 100.0;
    const double light = 0.01 * tags.xmpNumber("DLS",
                                               fault.takesTiltedReading ? "SpectralIrradiance"
                                                                        : "HorizontalIrradiance")
                                    .value();
    BandMatrix image = image::Raster::open(file).read().at(0);
    for (Eigen::Index y = 0; y < image.rows(); ++y) {
        const double row = fault.keepsRowTerm ? 0.0 : static_cast<double>(y);
        const double factor =
            kPi / light * a.at(0) / gain / 65536.0 / (t + a.at(1) * row - a.at(2) * t * row);
        for (Eigen::Index x = 0; x < image.cols(); ++x) {
            const auto sample = static_cast<double>(image(y, x));
            const double brightness =
                fault.keepsVignetting
                    ? 1.0
                    : planeValue(powers,
                                 terms,
                                 static_cast<double>(x) / static_cast<double>(image.cols()),
                                 static_cast<double>(y) / static_cast<double>(image.rows()));
            image(y, x) = sample > dark && sample < fault.clip
                              ? static_cast<float>(factor * (sample - dark) / brightness)
                              : kNoData;
        }
    }
    for (std::size_t i = 0; i + 1 < bad.size(); i += 2) {
        image(static_cast<Eigen::Index>(bad[i + 1]), static_cast<Eigen::Index>(bad[i])) = kNoData;
    }
    return image;
}

class RedEdgePFlight : public RenderedFlight {
protected:
    explicit RedEdgePFlight(const FlightOptions& flightOptions = smallFlight(CameraModel::RedEdgeP))
        : RenderedFlight(flightOptions) {}

    std::vector<BandResult> judged(const RedEdgePFault& fault) {
        return inverted([&fault](const fs::path& file) { return reflectanceOf(file, fault); },
                        Target::Reflectance,
                        Scale::One);
    }
};

/// In the sun the light sensor tilts; without noise it knows the light exactly.
class SunnyRedEdgePFlight : public RedEdgePFlight {
protected:
    SunnyRedEdgePFlight() : RedEdgePFlight(sunny()) {}

private:
    static FlightOptions sunny() {
        FlightOptions options = smallFlight(CameraModel::RedEdgeP, Sky::Clear);
        options.clearSky.sensorNoise = 0.0;
        options.intervalSeconds = 20.0; // one of the captures is in a turn
        return options;
    }
};

TEST_F(RedEdgePFlight, theMakersFormulaGivesReflectanceAsItStands) {
    expectTruth(judged({}), 5, 1.0);
}

TEST_F(SunnyRedEdgePFlight, theMakersFormulaGivesReflectanceAsItStandsAndTheTiltedReadingDoesNot) {
    expectTruth(judged({}), 5, 1.0);
    RedEdgePFault tilted;
    tilted.takesTiltedReading = true;
    for (const BandResult& result : judged(tilted)) {
        EXPECT_GT(std::abs(result.worstCaptureBias), 2.0) << result.band;
    }
}

TEST_F(RedEdgePFlight, whatACorrectionLeftInShows) {
    RedEdgePFault rows;
    rows.keepsRowTerm = true;
    RedEdgePFault vignetting;
    vignetting.keepsVignetting = true;
    RedEdgePFault laterClip;
    laterClip.clip = 65520.0;
    for (const BandResult& result : judged(rows)) {
        EXPECT_GT(std::abs(result.worstCaptureBias), 2.0) << result.band;
    }
    for (const BandResult& result : judged(vignetting)) {
        EXPECT_LT(result.bias, -10.0) << result.band;
    }
    for (const BandResult& result : judged(laterClip)) {
        EXPECT_GT(result.missed, 200U) << result.band;
        EXPECT_EQ(result.unexpectedMasked, 0U) << result.band;
    }
}

TEST_F(SunnyRedEdgePFlight, whatTheFilesStateIsOfSuchACamera) {
    std::set<double> darkLevels;
    std::set<int> speeds;
    double largestRowTerm = 0.0;
    for (const auto& record : manifest.at("files")) {
        const std::string name = record.at("file");
        SCOPED_TRACE(name);
        const exif::TagFile file = exif::readTags(flight / kImagesFolder / name);
        const exif::Tags& tags = file.tags;
        EXPECT_TRUE(file.warnings.empty());
        EXPECT_EQ(tags.exifText("Exif.Image.Make"), "MicaSense");
        EXPECT_EQ(tags.exifText("Exif.Image.Model"), "RedEdge-P");
        EXPECT_NE(tags.exifText("Exif.Photo.BodySerialNumber"), "1000001");
        speeds.insert(record.at("iso").get<int>());

        const BandMatrix samples = image::Raster::open(flight / kImagesFolder / name).read().at(0);
        EXPECT_TRUE((samples.array() == (samples.array() / 16.0F).floor() * 16.0F).all());
        EXPECT_EQ(samples.maxCoeff(), 65504.0F);
        const std::vector<double> dark = tags.exifNumbers("Exif.Image.BlackLevel");
        ASSERT_EQ(dark.size(), 1U);
        EXPECT_GE(dark[0], 3828.0);
        EXPECT_LE(dark[0], 3847.0);
        EXPECT_NE(std::fmod(dark[0], 16.0), 0.0);
        darkLevels.insert(dark[0]);

        const std::vector<double> a = tags.xmpNumbers("MicaSense", "RadiometricCalibration");
        EXPECT_DOUBLE_EQ(tags.xmpNumber("Camera", "BandSensitivity").value(),
                         2.8 * 2.8 / (kPi * 65536.0 * a.at(0)));
        const double t = tags.exifNumber("Exif.Photo.ExposureTime").value();
        largestRowTerm = std::max(largestRowTerm, (a.at(1) / t - a.at(2)) * 304.0);

        const std::vector<double> powers = tags.xmpNumbers("Camera", "VignettingPolynomial2DName");
        const std::vector<double> terms = tags.xmpNumbers("Camera", "VignettingPolynomial2D");
        ASSERT_EQ(terms.size(), 21U);
        double best = 0.0;
        double worst = 1.0;
        for (int i = 0; i <= 100 * 100; ++i) {
            const double value = planeValue(powers, terms, i / 100 / 100.0, i % 101 / 100.0);
            best = std::max(best, value);
            worst = std::min(worst, value);
        }
        EXPECT_NEAR(best, 1.0, 5e-4);
        EXPECT_GT(worst, 0.45);
        EXPECT_LT(worst, 0.52);

        const auto dls = [&tags](const char* tag) { return tags.xmpNumber("DLS", tag).value(); };
        EXPECT_EQ(tags.xmpText("DLS", "Serial").rfind("DA", 0), 0U);
        EXPECT_EQ(tags.xmpNumber("Camera", "Irradiance"), dls("SpectralIrradiance"));
        EXPECT_DOUBLE_EQ(dls("SpectralIrradiance"), 100.0 * record.at("reading").get<double>());
        EXPECT_NEAR(dls("HorizontalIrradiance") /
                        (dls("DirectIrradiance") * std::sin(dls("SolarElevation")) +
                         dls("ScatteredIrradiance")),
                    1.0,
                    1e-12);
        EXPECT_NEAR(dls("SolarElevation") / kDegree, record.at("sun_elevation_deg"), 1e-9);
        EXPECT_NEAR(dls("SolarAzimuth") / kDegree, record.at("sun_azimuth_deg"), 1e-9);
        for (const std::string angle : {"Yaw", "Pitch", "Roll"}) {
            EXPECT_NEAR(tags.xmpNumber("Camera", "Irradiance" + angle).value(),
                        tags.xmpNumber("DLS", angle).value() / kDegree,
                        1e-9);
        }
    }
    EXPECT_GT(darkLevels.size(), 5U);
    EXPECT_EQ(speeds, (std::set<int>{100, 200}));
    EXPECT_GT(largestRowTerm, 0.05);
    EXPECT_LT(largestRowTerm, 0.10);
}

TEST(SimulateRedEdgeP, fractionsOfASecondAreCountedInNanosecondsWithoutZerosInFront) {
    const test::TemporaryFolder folder;
    FlightOptions options;
    options.camera = CameraModel::RedEdgeP;
    options.captures = 60;
    options.width = options.height = kSmallestSide;
    options.hasTruth = false;
    renderFlight(folder.path() / "flight", options);
    const std::unique_ptr<Camera> camera =
        makeRedEdgeP({options.width, options.height, options.seed, options.noise});
    std::set<std::size_t> lengths;
    for (std::size_t capture = 0; capture < options.captures; ++capture) {
        const std::string text =
            exif::readTags(
                (folder.path() / "flight" / kImagesFolder / camera->fileName(capture, 0)).string())
                .tags.exifText("Exif.Photo.SubSecTime");
        const std::int64_t expected =
            stationOf(options.seed, capture, options.intervalSeconds).microseconds % 1000000;
        EXPECT_EQ(std::stoll(text) / (text.size() > 6 ? 1000 : 1), expected) << text;
        lengths.insert(text.size());
    }
    EXPECT_TRUE(lengths.count(8) == 1 && lengths.count(9) == 1 && lengths.count(7) == 0);
}

TEST(SimulateRedEdgeP, aPanelIsFoundInItsImages) {
    const test::TemporaryFolder folder;
    FlightOptions options;
    options.camera = CameraModel::RedEdgeP;
    options.captures = 3;
    options.hasPanel = true;
    options.hasTruth = false;
    renderFlight(folder.path() / "flight", options);
    for (const int band : {1, 2, 3, 4, 5}) {
        const std::string path = (folder.path() / "flight" / kImagesFolder /
                                  ("IMG_0002_" + std::to_string(band) + ".tif"))
                                     .string();
        const InputImage image = exif::inputImage(path, exif::readMetadata(path));
        const target::Detection found =
            target::targetDetectors().at(1)->find(image, image::Raster::open(path).read());
        EXPECT_EQ(found.targets.size(), 1U) << path;
    }
}

} // namespace
} // namespace tessik::simulate
