#include "radiometry/config/Validation.h"

#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "src/cameras/sequoia/SequoiaSupport.h"
#include "support/Support.h"

#include <gtest/gtest.h>

namespace tessik::radiometry {
namespace {

constexpr std::uint64_t kCamera = 4;

/// Images of one camera without any radiometric metadata.
struct Project {
    explicit Project(int count) {
        cameras[kCamera].uniqueName = "Cam 100%2"; // a name is no template
        for (int i = 0; i < count; ++i) {
            InputImage image;
            image.path = QString("%1.tif").arg(i);
            image.exif = test::plainExif(4, 4);
            image.cameraId = kCamera;
            images.push_back(image);
        }
    }

    [[nodiscard]] bool isComplete(CorrectionType type) const {
        return haveAllInformationForCorrection(cameras, images, {{kCamera, {type}}}, out, {});
    }

    CamerasData cameras;
    std::vector<InputImage> images;
    geo::OutCoordSystem out;
};

TEST(Validation, settingsThatAreMissingAreGuessedAndOthersStay) {
    Project project(1);
    project.images[0].exif.sunIrradiance = {1.0};
    project.cameras[9] = {};
    std::unordered_map<std::size_t, Settings> settings = {{9, {CorrectionType::NoCorrection}}};
    verifyValidRadiometricSettings(project.cameras, project.images, settings);
    EXPECT_EQ(settings.at(kCamera).correctionType, CorrectionType::CameraAndSunIrradiance);
    EXPECT_EQ(settings.at(9).correctionType, CorrectionType::NoCorrection);
}

TEST(Validation, whatIsMissingIsSaidOfEachImage) {
    Project project(9);
    project.images[0].enabled = false;
    project.images[1].exif.sunIrradiance = {1.0};
    const test::LogCapture log(logging::kError);
    EXPECT_TRUE(project.isComplete(CorrectionType::CameraOnly));
    EXPECT_EQ(log.all(), "");
    EXPECT_FALSE(project.isComplete(CorrectionType::CameraSunIrradianceAndSunAngle));
    const std::string all =
        "no sun irradiance, no orientation of the sun irradiance sensor, no capture time; ";
    EXPECT_EQ(log.all(),
              "Error e9035a: camera model name: Cam 100%2, correction type: camera, sun irradiance "
              "and sun angle - the output coordinate system cannot be converted to WGS 84; 1.tif: "
              "no orientation of the sun irradiance sensor, no capture time; 2.tif: " +
                  all + "3.tif: " + all + "4.tif: " + all + "5.tif: " + all + "and 3 more\n");
}

TEST(Validation, theOutputMatters) {
    const Project project(1);
    const auto errorOf = [&project](const geo::OutCoordSystem& out, CorrectionType type) {
        return getCorrectionError(project.images, out, {}, kCamera, type);
    };
    const auto sunAngle = CorrectionType::CameraSunIrradianceAndSunAngle;
    const geo::OutCoordSystem placed(geo::CoordSystem::localAt({46.5, 6.6, 0.0}));
    EXPECT_TRUE(errorOf({}, sunAngle).isOutputUnplaced());
    EXPECT_FALSE(errorOf(placed, sunAngle).isOutputUnplaced());
    EXPECT_FALSE(errorOf({}, CorrectionType::CameraAndSunIrradiance).isOutputUnplaced());
    EXPECT_TRUE(CorrectionError(true).hasErrors());
}

TEST(Validation, aCameraWithoutSettingsOrImagesEndsTheCheck) {
    Project project(1);
    project.cameras[5].uniqueName = "later";
    const test::LogCapture log(logging::kError);
    EXPECT_FALSE(haveAllInformationForCorrection(project.cameras, project.images, {}, {}, {}));
    project.images[0].enabled = false;
    EXPECT_FALSE(project.isComplete(CorrectionType::CameraOnly));
    EXPECT_EQ(log.all(),
              "Error: camera model name Cam 100%2 does not have a valid radiometric correction "
              "type.\nError e9035a: camera model name: Cam 100%2, correction type: camera - no "
              "enabled images\n");
    EXPECT_TRUE(haveAllInformationForCorrection({}, {}, {}, {}, {}));
}

TEST(Validation, whatWouldOnlyLookRightIsNotToBeCorrected) {
    struct Case {
        const char* reason;
        CorrectionType type; ///< the least with which it is refused
        void (*spoil)(InputImage&);
        bool hasModel = false;
    };
    constexpr auto kNone = CorrectionType::NoCorrection;
    constexpr auto kLeast = CorrectionType::CameraOnly;
    constexpr auto kIrradiance = CorrectionType::CameraAndSunIrradiance;
    constexpr auto kAngle = CorrectionType::CameraSunIrradianceAndSunAngle;
    const Case cases[] = {
        {"already corrected", kNone, [](InputImage& i) { i.exif.isNormalized = true; }},
        {"no camera metadata",
         kLeast,
         [](InputImage& i) {
             i.exif.make.clear();
             i.exif.exposureTime = 0.0;
         }},
        {"no exposure time", kLeast, [](InputImage& i) { i.exif.exposureTime = 0.0; }},
        {"no ISO or no f-number", kLeast, [](InputImage& i) { i.exif.iso = 0; }},
        {"no ISO or no f-number", kLeast, [](InputImage& i) { i.exif.apertureFNumber = 0.0; }},
        {"the sensitivity in the metadata is not above 0",
         kLeast,
         [](InputImage& i) { i.exif.sensitivity = {-1.0}; }},
        {"no irradiance reading", kIrradiance, [](InputImage& i) { i.exif.sunIrradiance.clear(); }},
        {"the sun angle cannot be corrected",
         kAngle,
         [](InputImage& i) { i.exif.uselessBands = {0}; }},
        {"Unable to convert", kAngle, [](InputImage& i) { i.geo.position.reset(); }},
        {"no sensor temperature",
         kLeast,
         [](InputImage& i) { i.exif.sensorTemperature.reset(); },
         true}};
    const sequoia::ModelParameter model;
    for (const Case& c : cases) {
        for (const CorrectionType type : {kNone, kLeast, kIrradiance, kAngle}) {
            InputImage image;
            image.exif = test::sequoiaExif(4, 4);
            image.exif.sunIrradiance = {1.0};
            image.geo.position = GeoPosition{47.0, 8.0, 500.0};
            const auto* used = c.hasModel ? &model : nullptr;
            EXPECT_EQ(whyNotToCorrect(image, type, used), "");
            c.spoil(image);
            const std::string reason = whyNotToCorrect(image, type, used);
            EXPECT_EQ(reason.rfind(type < c.type ? "" : c.reason, 0), 0U) << c.reason;
            EXPECT_EQ(reason.empty(), type < c.type) << c.reason << ": " << reason;
        }
    }
    InputImage airinov; // whose values are normalised for exposure
    airinov.exif = test::plainExif(4, 4);
    airinov.exif.make = "Airinov";
    EXPECT_NE(whyNotToCorrect(airinov, kLeast, nullptr), "");
    airinov.exif.isAirinovMultispec4C = true;
    EXPECT_EQ(whyNotToCorrect(airinov, kLeast, nullptr), "");
}

} // namespace
} // namespace tessik::radiometry
