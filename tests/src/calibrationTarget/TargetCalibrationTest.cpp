#include "radiometry/calibrationTarget/TargetCalibration.h"

#include "platform/camera/InputImage.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/image/Raster.h"
#include "support/Settings.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

namespace tessik::radiometry {
namespace {

using test::TemporaryFolder;
using testing::HasSubstr;

/// A target of this reflectance in every image that is not black.
class Everywhere final : public target::ITargetDetector {
public:
    explicit Everywhere(std::vector<double> reflectance) : m_reflectance(std::move(reflectance)) {}
    [[nodiscard]] target::Detection find(const InputImage& /*image*/,
                                         const BandImage& raw) const override {
        ++calls;
        if (raw[0](5, 5) == 1.0F) {
            return {{}, {"black"}};
        }
        const image::Ring region = {{2, 2}, {7, 2}, {7, 7}, {2, 7}, {2, 2}};
        return {{{"fake", TargetType::Unknown, "RP", region, {}, m_reflectance}}, {}};
    }
    mutable std::atomic<int> calls{0};

private:
    std::vector<double> m_reflectance;
};

/// A flight of one camera: an image a level, the pixels level * (1 +- unevenness).
struct PanelProject {
    struct Shot {
        float level;
        float unevenness;
    };

    explicit PanelProject(const std::vector<Shot>& shots, std::vector<double> reflectance = {0.5}) {
        ExifInfo exif = test::plainExif(10, 10);
        exif.bands = {{475.0, 20.0}};
        cameras[1] = {"cam", {}, {}, exif.bands, exif::cameraParams(exif)};
        settings[1] = {CorrectionType::NoCorrection};
        for (std::size_t i = 0; i < shots.size(); ++i) {
            InputImage image;
            image.path = QString::fromStdString(folder.file(std::to_string(i) + ".tif"));
            image.exif = exif;
            image.geo.captureTime = 1000.0 + static_cast<double>(i);
            image.cameraId = 1;
            images.push_back(image);
            if (shots[i].level > 0.0F) { // others are not on disk: to open one would fail
                BandMatrix pixels(10, 10);
                for (Eigen::Index k = 0; k < 100; ++k) {
                    const float sign = (k + k / 10) % 2 == 0 ? 1.0F : -1.0F;
                    pixels.data()[k] = shots[i].level * (1.0F + sign * shots[i].unevenness);
                }
                image::writeUInt16Raster(image.path.toStdString(), {pixels});
            }
        }
        auto detector = std::make_unique<Everywhere>(std::move(reflectance));
        everywhere = detector.get();
        detectors.push_back(std::move(detector));
    }

    [[nodiscard]] TargetCalibrationRequest request() const {
        return {images, cameras, systems, settings, sunlight, models, detectors};
    }

    TemporaryFolder folder;
    test::TemporarySettings store;
    std::vector<InputImage> images;
    CamerasData cameras;
    geo::ProjectCoordinateSystems systems;
    std::unordered_map<std::size_t, Settings> settings;
    std::map<BandInfo, double> sunlight;
    std::unordered_map<std::uint64_t, sequoia::ModelParameter> models;
    std::vector<std::unique_ptr<target::ITargetDetector>> detectors;
    const Everywhere* everywhere = nullptr;
};

TEST(TargetCalibration, opensTheCandidatesAlone) {
    std::vector<PanelProject::Shot> shots(3000, {0.0F, 0.0F});
    shots.front() = {1000.0F, 0.0F};
    shots[1500] = {1020.0F, 0.0F};
    shots.back() = {1.0F, 0.0F};
    PanelProject project(shots);
    project.images[1500].exif.recordedTarget.isTarget = true;
    const QString marked = project.images[1500].path;
    const test::LogCapture log;
    const TargetCalibration result = calibrateFromTargets(project.request());
    EXPECT_EQ(project.everywhere->calls, 3);
    ASSERT_EQ(result.candidates.size(), 3U);
    EXPECT_EQ(result.candidates[2].imageIndex, 2999U);
    EXPECT_EQ(result.candidates[2].targetCount, 0U);
    EXPECT_EQ(result.candidates[2].remarks, std::vector<std::string>{"black"});
    EXPECT_DOUBLE_EQ(result.cameras.at(1).sensitivity.at(0), 2020.0);
    EXPECT_EQ(log.count(logging::kInfo,
                        "Automatic radiometric calibration of camera 'cam' using '" +
                            project.images[0].path.toStdString() + "', '" + marked.toStdString() +
                            "'"),
              1);
}

TEST(TargetCalibration, choosesByItsRule) {
    struct Case {
        const char* name;
        std::vector<PanelProject::Shot> shots;
        double sensitivity; // 0 = none
        const char* remark; // of the last target
        int warnings;
    };
    // A checkerboard of 1 +- u has a standard deviation of u sqrt(36 / 35) over 36 pixels.
    const std::vector<Case> cases = {
        {"both ends count alike", {{1000, 0.0F}, {1040, 0.0F}}, 2040.0, "", 0},
        {"5 % apart", {{1950, 0.0F}, {2050, 0.0F}}, 4000.0, "", 0},
        {"more than 5 % apart", {{1940, 0.0F}, {2060, 0.0F}}, 4000.0, "", 1},
        {"even enough", {{1000, 0.0F}, {1100, 0.049F}}, 2100.0, "", 1},
        {"uneven", {{1000, 0.0F}, {1100, 0.05F}}, 2000.0, "uneven: standard deviation 5.1 %", 0},
        {"saturated",
         {{1000, 0.0F}, {65535, 0.0F}},
         2000.0,
         "Not enough valid pixels for band 0",
         0},
        {"nothing left", {{1000, 0.2F}, {1000, 0.3F}}, 0.0, "uneven", 0},
    };
    for (const Case& c : cases) {
        const PanelProject project(c.shots);
        const test::LogCapture log(logging::kWarning);
        const TargetCalibration result = calibrateFromTargets(project.request());
        const std::vector<double>& sensitivity = result.cameras.at(1).sensitivity;
        EXPECT_NEAR(sensitivity.empty() ? 0.0 : sensitivity[0], c.sensitivity, 1e-9) << c.name;
        EXPECT_THAT(result.targets.back().remark.toStdString(), testing::StartsWith(c.remark));
        EXPECT_EQ(result.targets.back().isUsed, std::string(c.remark).empty()) << c.name;
        EXPECT_EQ(result.warnings.size(), static_cast<std::size_t>(c.warnings)) << c.name;
        EXPECT_EQ(log.count(logging::kWarning,
                            "No valid radiometric calibration target for camera 'cam'"),
                  sensitivity.empty() ? 1 : 0);
    }
}

TEST(TargetCalibration, warnsOfASpreadThatOnlyABrightTargetCanHave) {
    const PanelProject project({{1000, 0.04F}}, {0.9});
    const TargetCalibration result = calibrateFromTargets(project.request());
    EXPECT_TRUE(result.targets.at(0).isUsed);
    EXPECT_THAT(result.warnings.at(0), HasSubstr("in reflectance > 0.03 in band 0"));
}

TEST(TargetCalibration, asksTheCallerThenTheTargetThenTheStore) {
    const auto sensitivityOf = [](const PanelProject& project, double known) {
        saveCalibrationTargetReflectanceInDb({TargetType::Unknown, "RP", {475.0, 20.0}}, 0.25F);
        TargetCalibrationRequest request = project.request();
        request.knownReflectance = [known](const InputImage&, const target::DetectedTarget&) {
            return std::vector<double>{known};
        };
        return calibrateFromTargets(request).cameras.at(1).sensitivity.at(0);
    };
    const double nothing = std::nan("");
    EXPECT_DOUBLE_EQ(sensitivityOf(PanelProject({{1000, 0.0F}}, {0.5}), 0.8), 1250.0);
    EXPECT_DOUBLE_EQ(sensitivityOf(PanelProject({{1000, 0.0F}}, {0.5}), nothing), 2000.0);
    EXPECT_DOUBLE_EQ(sensitivityOf(PanelProject({{1000, 0.0F}}, {nothing}), nothing), 4000.0);
    EXPECT_DOUBLE_EQ(sensitivityOf(PanelProject({{1000, 0.0F}}, {}), nothing), 4000.0);

    const PanelProject unknown({{1000, 0.0F}}, {});
    const TargetCalibration result = calibrateFromTargets(unknown.request());
    EXPECT_EQ(result.targets.at(0).remark, "Some reflectance factors are undefined.");
    const PanelProject wrong({{1000, 0.0F}}, {0.5, 0.5});
    EXPECT_EQ(calibrateFromTargets(wrong.request()).targets.at(0).remark,
              "Reflectance of the target: 2 values for 1 bands");
}

TEST(TargetCalibration, anImageThatFailsIsToldAndTheOthersCount) {
    const PanelProject project({{0.0F, 0.0F}, {1000, 0.0F}, {1000, 0.0F}});
    TargetCalibrationRequest request = project.request();
    request.prepare = [](InputImage& image) {
        if (image.path.endsWith("2.tif")) {
            throw error("already corrected");
        }
    };
    request.useAllImages = true;
    const TargetCalibration result = calibrateFromTargets(request);
    ASSERT_EQ(result.candidates.size(), 3U);
    EXPECT_NE(result.candidates[0].failure, "");
    EXPECT_EQ(result.candidates[2].failure, "already corrected");
    EXPECT_DOUBLE_EQ(result.cameras.at(1).sensitivity.at(0), 2000.0);
    ASSERT_EQ(result.targets.at(0).histogram.size(), 1U);
    EXPECT_EQ(result.targets[0].histogram[0].counts.front(), 36);
}

TEST(TargetCalibration, theHistogramHoldsEachValidPixelOfTheRegionOnce) {
    PanelProject project({{1000, 0.0F}});
    BandMatrix pixels = BandMatrix::Constant(10, 10, 1000.0F);
    pixels.row(2).setConstant(1016.0F); // of 32 bins between 1000 and 1032, the seventeenth
    pixels.col(7).setConstant(1032.0F);
    pixels(4, 4) = 0.0F;    // no value of a camera
    pixels(5, 9) = 5000.0F; // outside
    image::writeUInt16Raster(project.images[0].path.toStdString(), {pixels});
    const TargetCalibration result = calibrateFromTargets(project.request());
    const ValueHistogram& histogram = result.targets.at(0).histogram.at(0);
    EXPECT_EQ(histogram.from, 1000.0);
    EXPECT_EQ(histogram.to, 1032.0);
    std::vector<std::int64_t> counts(32);
    counts[0] = 24;
    counts[16] = 5;
    counts[31] = 6;
    EXPECT_EQ(std::vector<std::int64_t>(histogram.counts.begin(), histogram.counts.end()), counts);
}

MeasuredTarget usedTarget(const char* path, std::uint64_t camera, std::vector<double> sensitivity) {
    MeasuredTarget target;
    target.imagePath = path;
    target.cameraId = camera;
    target.detector = "fake";
    target.target.id = "RP";
    target.target.sensitivity = std::move(sensitivity);
    target.isUsed = true;
    return target;
}

TEST(TargetCalibration, eachBandIsTheMeanOfItsTargetsAndTheBandThatDiffersMostIsNamed) {
    TargetCalibration result;
    result.targets = {usedTarget("f/a.tif", 1, {102.0, 190.0, 303.0}),
                      usedTarget("f/b.tif", 1, {98.0, 210.0, 297.0}),
                      usedTarget("f/c.tif", 2, {1.0, 1.0, 1.0}),
                      usedTarget("f/d.tif", 1, {5.0, 5.0, 5.0})};
    result.targets.back().isUsed = false;
    CamerasData cameras;
    cameras[1].uniqueName = "cam";
    chooseSensitivities(cameras, result);
    const CameraCalibration& camera = result.cameras.at(1);
    EXPECT_EQ(camera.sensitivity, (std::vector<double>{100.0, 200.0, 300.0}));
    EXPECT_DOUBLE_EQ(camera.disagreement, 0.1);
    EXPECT_EQ(camera.source, "mean of 2 targets: fake RP in a.tif, fake RP in b.tif");
    EXPECT_EQ(result.warnings,
              std::vector<std::string>{
                  "the targets of camera 'cam' differ by 10.0 % in band 1 (fake RP in a.tif, fake "
                  "RP in b.tif): the light between them was not followed"});
}

} // namespace
} // namespace tessik::radiometry
