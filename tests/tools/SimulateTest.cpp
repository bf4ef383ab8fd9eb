#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/math/Angle.h"
#include "simulate/Compare.h"
#include "simulate/Flight.h"
#include "simulate/MicaSenseCamera.h"
#include "simulate/Random.h"
#include "simulate/Scene.h"
#include "support/Support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(fs::relative(entry.path(), folder));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// What an inversion deliberately does wrong.
struct Fault {
    bool keepsVignetting = false;
    bool keepsRollingShutter = false;
    double darkOffset = 0.0;
};

/// Radiance in W/m2/sr/nm from the file's samples and tags only, pixel by pixel, by the maker's
/// formula L = V (a1 / gain) (DN - dark) / 65536 / (t + a2 y - a3 t y).
BandMatrix invert(const std::string& file, const Fault& fault = {}) {
    const exif::Tags tags = exif::readTags(file).tags;
    const std::vector<double> a = tags.xmpNumbers("MicaSense", "RadiometricCalibration");
    const std::vector<double> c = tags.xmpNumbers("Camera", "VignettingPolynomial");
    const std::vector<double> center = tags.xmpNumbers("Camera", "VignettingCenter");
    const std::vector<double> dark = tags.exifNumbers("Exif.Image.BlackLevel");
    const std::vector<double> bad = tags.xmpNumbers("Camera", "InvalidPixel");
    const double t = tags.exifNumber("Exif.Photo.ExposureTime").value();
    const double gain = tags.exifNumber("Exif.Photo.ISOSpeed").value() / 100.0;
    BandMatrix image = image::Raster::open(file).read().at(0);
    for (Eigen::Index y = 0; y < image.rows(); ++y) {
        for (Eigen::Index x = 0; x < image.cols(); ++x) {
            const double sample = static_cast<double>(image(y, x));
            const double row = fault.keepsRollingShutter ? 0.0 : static_cast<double>(y);
            const double r = std::hypot(static_cast<double>(x) - center.at(0),
                                        static_cast<double>(y) - center.at(1));
            double brightness = 1.0;
            for (std::size_t i = 0; i < c.size(); ++i) {
                brightness += c[i] * std::pow(r, static_cast<double>(i + 1));
            }
            const double level = dark.at(static_cast<std::size_t>(y % 2 * 2 + x % 2));
            const double radiance = a.at(0) / gain * (sample - level - fault.darkOffset) / 65536.0 /
                                    (t + a.at(1) * row - a.at(2) * t * row) /
                                    (fault.keepsVignetting ? 1.0 : brightness);
            image(y, x) =
                sample <= level || sample >= 65520.0 ? kNoData : static_cast<float>(radiance);
        }
    }
    for (std::size_t i = 0; i + 1 < bad.size(); i += 2) {
        image(static_cast<Eigen::Index>(bad[i + 1]), static_cast<Eigen::Index>(bad[i])) = kNoData;
    }
    return image;
}

void scale(BandMatrix& image, double factor) {
    image = (image.array() == kNoData).select(image, image * static_cast<float>(factor));
}

/// A flight with all ISO speeds, and a folder for its corrected images.
class SimulatedFlight : public testing::Test {
protected:
    explicit SimulatedFlight(double noise = 1.0) {
        options.captures = 4;
        options.width = 400;
        options.height = 300;
        options.noise = noise;
        renderFlight(flight, options);
        fs::create_directory(corrected);
    }

    /// Inverts all files, with a factor for each capture.
    void invertAll(const Fault& fault = {}, const std::vector<double>& factors = {1, 1, 1, 1}) {
        for (std::size_t capture = 0; capture < options.captures; ++capture) {
            for (std::size_t band = 1; band <= 5; ++band) {
                const std::string name =
                    "IMG_000" + std::to_string(capture) + "_" + std::to_string(band) + ".tif";
                BandMatrix image = invert(flight / kImagesFolder / name, fault);
                scale(image, factors.at(capture));
                image::writeFloatRaster(corrected / name, {image});
            }
        }
    }
    [[nodiscard]] BandResult firstBand(Target target = Target::Radiance) const {
        return compare(flight, corrected, target).at(0);
    }

    test::TemporaryFolder folder;
    fs::path flight = folder.path() / "flight";
    fs::path corrected = folder.path() / "corrected";
    FlightOptions options;
};

TEST(Simulate, aSeedGivesTheSameBytesAndAnotherSeedOthers) {
    struct Case {
        CameraModel camera;
        std::size_t files; ///< besides the manifest
    };
    for (const Case& expected : {Case{CameraModel::RedEdge, 2 * 5 * 2},
                                 Case{CameraModel::RedEdgeP, 2 * 5 * 2},
                                 Case{CameraModel::SequoiaV1, 2 * 4 * 2},
                                 Case{CameraModel::SequoiaV2, 2 * 4 * 2 + 2},
                                 Case{CameraModel::P4m, 2 * 5 * 2},
                                 Case{CameraModel::M3m, 2 * 4 * 2}}) {
        const test::TemporaryFolder folder;
        FlightOptions options;
        options.camera = expected.camera;
        options.captures = 2;
        options.width = 64;
        options.height = 48;
        renderFlight(folder.path() / "a", options);
        renderFlight(folder.path() / "b", options);
        options.seed = 2;
        renderFlight(folder.path() / "c", options);
        const std::vector<fs::path> files = filesIn(folder.path() / "a");
        ASSERT_EQ(files.size(), expected.files + 1);
        EXPECT_EQ(files, filesIn(folder.path() / "b"));
        for (const fs::path& file : files) {
            const std::string bytes = bytesOf(folder.path() / "a" / file);
            EXPECT_EQ(bytes, bytesOf(folder.path() / "b" / file)) << file;
            // A thermal profile is a property of the body.
            EXPECT_EQ(bytes == bytesOf(folder.path() / "c" / file),
                      file.filename() == "sequoia_therm.dat")
                << file;
        }
    }
}

TEST(Simulate, aFolderThatIsNotEmptyIsRefusedAndTheTruthCanBeLeftOut) {
    const test::TemporaryFolder folder;
    FlightOptions options;
    options.captures = 1;
    options.width = options.height = 16;
    options.hasTruth = false;
    renderFlight(folder.path() / "a", options);
    EXPECT_EQ(filesIn(folder.path() / "a").size(), 5U + 1U); // what it was made from is always told
    EXPECT_EQ(test::messageOf<Failure>([&] { renderFlight(folder.path() / "a", options); }),
              (folder.path() / "a").string() + ": the folder is not empty");
}

TEST_F(SimulatedFlight, samplesAreTwelveBitsShiftedByFourAndUnusableOnesAreCounted) {
    std::ifstream stream(flight / "truth" / "flight.json");
    const auto manifest = nlohmann::json::parse(stream);
    ASSERT_EQ(manifest.at("files").size(), 20U);
    std::set<int> speeds;
    for (const auto& record : manifest.at("files")) {
        const std::string name = record.at("file");
        const BandMatrix samples = image::Raster::open(flight / kImagesFolder / name).read().at(0);
        const BandImage truth = image::Raster::open(flight / "truth" / name).read();
        EXPECT_TRUE((samples.array() == (samples.array() / 16.0F).floor() * 16.0F).all());
        EXPECT_LE(samples.maxCoeff(), 65520.0F);
        EXPECT_EQ(static_cast<int>(truth[1].array().isInf().count()),
                  record.at("bad_pixels").get<int>() + record.at("saturated_pixels").get<int>());
        EXPECT_GT(record.at("saturated_pixels"), 0);
        // The brightest material where the image is brightest, as a share of full scale.
        const auto white = truth[0].array() == static_cast<float>(Scene::kBrightest) &&
                           truth[1].array().isFinite();
        const float peak = white.select(samples, 0.0F).maxCoeff() / 65536.0F;
        EXPECT_GT(peak, 0.5F) << name;
        EXPECT_LT(peak, 0.95F) << name;
        speeds.insert(record.at("iso").get<int>());
    }
    EXPECT_EQ(speeds, (std::set<int>{100, 200, 400, 800}));
}

TEST(Simulate, randomNumbersAreNormalAndIndependent) {
    constexpr std::size_t kCount = 1000000;
    std::vector<float> values(kCount);
    Random({1, 2}).normal(values);
    std::vector<float> others(kCount);
    Random({2, 1}).normal(others);
    std::array<double, 4> moments{};
    double neighbours = 0.0;
    double betweenSequences = 0.0;
    double beyondTwo = 0.0;
    for (std::size_t i = 0; i < kCount; ++i) {
        const auto z = static_cast<double>(values[i]);
        moments[0] += z;
        moments[1] += z * z;
        moments[2] += z * z * z;
        moments[3] += z * z * z * z;
        neighbours += z * static_cast<double>(values[i ^ 1U]);
        betweenSequences += z * static_cast<double>(others[i]);
        beyondTwo += z > 2.0 ? 1.0 : 0.0;
    }
    // Each lies within five standard deviations of a mean over a million.
    EXPECT_NEAR(moments[0] / kCount, 0.0, 0.005);
    EXPECT_NEAR(moments[1] / kCount, 1.0, 0.0071);
    EXPECT_NEAR(moments[2] / kCount, 0.0, 0.02);
    EXPECT_NEAR(moments[3] / kCount, 3.0, 0.05);
    EXPECT_NEAR(neighbours / kCount, 0.0, 0.0071); // each pair is counted twice
    EXPECT_NEAR(betweenSequences / kCount, 0.0, 0.005);
    EXPECT_NEAR(beyondTwo / kCount, 0.02275, 0.00075);
}

TEST(Simulate, theNoisePutInIsTheNoiseStatedAndGrowsWithTheGain) {
    const std::unique_ptr<Camera> camera = makeRedEdge({200, 150, 1, 1.0});
    std::map<int, double> varianceOverSignal;
    for (const double reflectance : {Scene::kDarkest, Scene::kBrightest}) {
        for (std::size_t capture = 0; capture < 4; ++capture) {
            Shot shot;
            shot.capture = capture;
            shot.irradiance = 1.3;
            shot.reflectance = BandMatrix::Constant(150, 200, static_cast<float>(reflectance));
            const Frame noisy = camera->take(shot, true);
            const Frame clean = makeRedEdge({200, 150, 1, 0.0})->take(shot, true);
            // At the sensor's centre the signal is even to a percent. The rounding of the clean
            // frame adds at most a sixth of a step's variance.
            const auto difference = (noisy.samples - clean.samples).block(50, 70, 50, 60).eval();
            const Eigen::ArrayXXd residual = difference.cast<double>().array();
            const auto signal =
                (clean.samples.block(50, 70, 50, 60).array().cast<double>() - 4808.0).mean();
            const double stated =
                noisy.relativeDeviation.block(50, 70, 50, 60).cast<double>().mean() * signal;
            const double measured = std::sqrt(residual.square().mean());
            // 3000 pixels give the standard deviation to 1.3 %.
            EXPECT_NEAR(measured / stated, 1.0, 0.05) << reflectance << " ISO " << noisy.iso;
            EXPECT_GT(signal / stated, 7.0) << "the darkest must stay clear of the dark level";
            if (reflectance == Scene::kBrightest) {
                varianceOverSignal[noisy.iso] = residual.square().mean() / signal;
            }
        }
    }
    // An electron makes more DN: the slope of the photon transfer curve is proportional to the
    // gain.
    EXPECT_NEAR(varianceOverSignal.at(800) / varianceOverSignal.at(100), 8.0, 0.8);
}

/// What the noise adds to a grey image, in DN, without its mean.
Eigen::ArrayXd noiseOf(std::uint64_t seed, std::size_t capture, std::size_t band) {
    Shot shot;
    shot.capture = capture;
    shot.band = band;
    shot.irradiance = 1.3;
    shot.reflectance = BandMatrix::Constant(60, 80, 0.4F);
    const BandMatrix noise = makeRedEdge({80, 60, seed, 1.0})->take(shot, false).samples -
                             makeRedEdge({80, 60, seed, 0.0})->take(shot, false).samples;
    const Eigen::ArrayXd values =
        Eigen::Map<const Eigen::ArrayXf>(noise.data(), noise.size()).cast<double>();
    return values - values.mean();
}

TEST(Simulate, everySeedCaptureAndBandHasNoiseOfItsOwn) {
    const std::vector<Eigen::ArrayXd> noises = {
        noiseOf(1, 0, 0), noiseOf(2, 0, 0), noiseOf(1, 1, 0), noiseOf(1, 0, 1)};
    for (std::size_t i = 0; i < noises.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const double correlation =
                (noises[i] * noises[j]).mean() /
                std::sqrt(noises[i].square().mean() * noises[j].square().mean());
            EXPECT_LT(std::abs(correlation), 0.075) << i << " " << j; // 4800 pixels: 5 x 0.0144
        }
    }
}

TEST_F(SimulatedFlight, theMakersFormulaGivesTheTruthBackWithinTheNoise) {
    invertAll();
    for (const BandResult& result : compare(flight, corrected, Target::Radiance)) {
        SCOPED_TRACE(result.band);
        EXPECT_NEAR(result.scale * kPi, 1.0, 5e-4);
        EXPECT_LT(std::abs(result.bias), 0.1);
        EXPECT_LT(std::abs(result.worstCaptureBias), 0.2);
        ASSERT_TRUE(result.worstLevelBias);
        EXPECT_LT(std::abs(*result.worstLevelBias), 0.3); // three times the noise in a level's mean
        EXPECT_NEAR(result.rmsRatio(), 1.0, 0.02);
        EXPECT_EQ(result.masked, result.expectedMasked);
        EXPECT_EQ(result.unexpectedMasked, 0U);
    }
    // The light jumps between captures, which must show if it has not been corrected.
    EXPECT_GT(std::abs(firstBand(Target::Reflectance).worstCaptureBias), 10.0);
}

/// As a camera whose only noise is its twelve bits.
class NoiselessFlight : public SimulatedFlight {
protected:
    NoiselessFlight() : SimulatedFlight(0.0) {}
};

TEST_F(NoiselessFlight, onlyQuantisationIsLeftAndStatedAsSuch) {
    invertAll();
    for (const BandResult& result : compare(flight, corrected, Target::Radiance)) {
        EXPECT_NEAR(result.scale * kPi, 1.0, 5e-5) << result.band;
        EXPECT_NEAR(result.rmsRatio(), 1.0, 0.02) << result.band;
    }
}

TEST_F(SimulatedFlight, whatWasPutInTheMetadataIsReadBack) {
    std::ifstream stream(flight / "truth" / "flight.json");
    const auto record = nlohmann::json::parse(stream).at("files").at(8); // capture 1, NIR
    const exif::ImageMetadata metadata =
        exif::readMetadata(flight / kImagesFolder / "IMG_0001_4.tif");
    const ExifInfo& exif = metadata.exif;
    EXPECT_TRUE(metadata.warnings.empty());
    EXPECT_EQ(exif.make, "MicaSense");
    EXPECT_EQ(exif.model, "RedEdge");
    EXPECT_EQ(exif.serialNumber, "1000001");
    EXPECT_EQ(exif.rigCameraIndex, 3);
    EXPECT_EQ(exif.bandNames, (std::vector<QString>{"NIR"}));
    EXPECT_EQ(exif.bands, (bands_t{{840.0, 40.0}}));
    EXPECT_EQ(exif.exposureTime, record.at("exposure_s").get<double>());
    EXPECT_EQ(exif.iso, record.at("iso").get<int>());
    EXPECT_EQ(exif.apertureFNumber, 2.8);
    EXPECT_EQ(exif.sunIrradiance, (std::vector<double>{record.at("irradiance").get<double>()}));
    EXPECT_EQ(exif.sunSensorYawPitchRoll, Eigen::Vector3d(3.5, 0.0, 0.0));
    EXPECT_EQ(exif.storedRange, (std::pair{0.0, 65520.0}));
    ASSERT_EQ(exif.darkLevels.size(), 1U);
    EXPECT_EQ(exif.darkLevels[0], (Eigen::Matrix2d() << 4832, 4800, 4816, 4784).finished());
    ASSERT_EQ(exif.badPixels.size(), 1U);
    EXPECT_EQ(exif.badPixels[0].size(), record.at("bad_pixels").get<std::size_t>());
    EXPECT_EQ(exif.vignetting.coefficients.rows(), 7);
    const exif::Tags tags = exif::readTags(flight / kImagesFolder / "IMG_0001_4.tif").tags;
    const double a1 = tags.xmpNumbers("MicaSense", "RadiometricCalibration").at(0);
    ASSERT_EQ(exif.sensitivity.size(), 1U);
    EXPECT_DOUBLE_EQ(exif.sensitivity[0], 2.8 * 2.8 / (kPi * 65536.0 * a1));
    EXPECT_GT(exif.micaSense3kModel.k1, 0.0);
    EXPECT_GT(exif.micaSense3kModel.k2, 0.0);

    const auto geo = [this](const std::string& name) {
        return exif::readMetadata(flight / kImagesFolder / name).geo;
    };
    const GeoData first = geo("IMG_0000_4.tif");
    const GeoData second = geo("IMG_0001_4.tif");
    EXPECT_EQ(second.captureTime, geo("IMG_0001_1.tif").captureTime);
    EXPECT_NEAR(second.captureTime - first.captureTime, 1.5, 0.1);
    ASSERT_TRUE(first.position && second.position);
    const double north = (second.position->latitude - first.position->latitude) * 111320.0;
    EXPECT_NEAR(north, 7.3, 1.01);
    EXPECT_EQ(exif.captureId,
              exif::readMetadata(flight / kImagesFolder / "IMG_0001_1.tif").exif.captureId);
    EXPECT_NE(exif.captureId,
              exif::readMetadata(flight / kImagesFolder / "IMG_0000_1.tif").exif.captureId);
}

TEST_F(SimulatedFlight, aCaptureThatIsOffIsNamed) {
    invertAll({}, {1.0, 1.0, 1.01, 1.0});
    const BandResult result = firstBand();
    EXPECT_EQ(result.worstCapture, 2U);
    EXPECT_GT(result.worstCaptureBias, 0.5);
    EXPECT_LT(result.worstCaptureBias, 1.0);
}

TEST_F(SimulatedFlight, whatACorrectionLeftInShows) {
    invertAll({true, false, 0.0});
    EXPECT_GT(firstBand().rmsRatio(), 1.1);
    invertAll({false, true, 0.0});
    EXPECT_GT(std::abs(firstBand().worstCaptureBias), 0.5);
    invertAll({false, false, 16.0});
    const BandResult result = firstBand();
    ASSERT_TRUE(result.worstLevelBias);
    EXPECT_LT(*result.worstLevelBias, -0.5);
    EXPECT_LT(result.worstLevel, 0.07); // a dark level is felt where it is dark
}

TEST_F(SimulatedFlight, pixelsMaskedWithoutCauseOrNotDespiteItAndMissingFilesAreReported) {
    invertAll();
    const std::string name = "IMG_0002_1.tif";
    BandMatrix image = image::Raster::open(corrected / name).read().at(0);
    const auto usable = static_cast<std::size_t>((image.row(7).array() != kNoData).count());
    image.row(7).setConstant(std::nanf(""));
    const auto bottom = image.bottomRows(image.rows() - 8).array();
    const auto unusable = static_cast<std::size_t>((bottom == kNoData).count());
    ASSERT_GT(unusable, 0U);
    image.bottomRows(image.rows() - 8) = (bottom == kNoData).select(1.0F, bottom);
    image::writeFloatRaster(corrected / name, {image});
    const BandResult result = firstBand();
    EXPECT_EQ(result.unexpectedMasked, usable);
    EXPECT_EQ(result.missed, unusable);
    EXPECT_EQ(result.masked, result.expectedMasked + usable - unusable);

    std::ostringstream printed;
    printJson(printed, {result}, Target::Radiance);
    const auto band = nlohmann::json::parse(printed.str()).at("bands").at(0);
    EXPECT_EQ(band.at("unexpected_masked"), usable);
    EXPECT_EQ(band.at("missed"), unusable);

    fs::remove(corrected / name);
    EXPECT_EQ(test::messageOf<MissingFile>([this] { static_cast<void>(firstBand()); }),
              (corrected / name).string() + ": no such file");
}

} // namespace
} // namespace tessik::simulate
