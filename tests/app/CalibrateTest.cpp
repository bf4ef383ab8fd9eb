#include "Calibrate.h"

#include "ImageCorrector.h"
#include "SensitivityFile.h"
#include "app/Command.h"
#include "platform/image/Raster.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <fstream>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using OrderedJson = nlohmann::ordered_json;
using test::TemporaryFolder;
using testing::HasSubstr;

TEST(TargetsCommand, whatIsSetIsThereInTheNextRun) {
    const TemporaryFolder folder;
    EXPECT_EQ(radiometry(folder, "targets set unknown/RP02 475_20=0.56 560.04_20=0.57").status, 0);
    const Result shown = radiometry(folder, "targets show unknown/RP02 --json");
    EXPECT_EQ(OrderedJson::parse(shown.out),
              OrderedJson::parse(R"({"target": "unknown/RP02", "reflectance": [
                  {"wavelength_nm": 475.0, "fwhm_nm": 20.0, "reflectance": 0.56},
                  {"wavelength_nm": 560.0, "fwhm_nm": 20.0, "reflectance": 0.57}]})"));
    EXPECT_TRUE(fs::exists(folder.path() / "settings" / "tessik" / "radiometry.conf"));
    // One bad value, and nothing is stored.
    EXPECT_EQ(radiometry(folder, "targets set unknown/RP03 475_20=0.56 560_20=57").status, 1);
    EXPECT_EQ(radiometry(folder, "targets set panel/RP03 475_20=0.56").status, 1);
    EXPECT_EQ(radiometry(folder, "targets show unknown/RP03").status, 1);
    EXPECT_EQ(radiometry(folder, "targets remove unknown/RP02").status, 0);
    EXPECT_EQ(radiometry(folder, "targets list").out, "");
}

/// A patch of one reflectance in the first capture of a flight, and that reflectance.
struct Patch {
    explicit Patch(const fs::path& flight) {
        constexpr Eigen::Index kSide = 16;
        const BandImage truth =
            image::Raster::open((flight / "truth/IMG_0000_1.tif").string()).read();
        const BandMatrix& blue = truth[0];
        for (Eigen::Index r = blue.rows() / 2; r + kSide < blue.rows(); r += 4) {
            for (Eigen::Index c = 8; c + kSide < blue.cols() - 8; c += 4) {
                const auto block = blue.block(r, c, kSide, kSide);
                if (block.minCoeff() == block.maxCoeff() && block(0, 0) > reflectance) {
                    reflectance = block(0, 0);
                    const auto corner = [&](Eigen::Index x, Eigen::Index y) {
                        return std::to_string(c + x) + "," + std::to_string(r + y) + " ";
                    };
                    region = corner(0, 0) + corner(kSide - 1, 0) + corner(kSide - 1, kSide - 1) +
                             corner(0, kSide - 1);
                }
            }
        }
    }
    float reflectance = 0.05F;
    std::string region;
};

class CalibrateCommand : public testing::Test {
protected:
    CalibrateCommand() {
        simulate::FlightOptions options;
        options.captures = 2;
        options.width = 320;
        options.height = 240;
        simulate::renderFlight(folder.path() / "flight", options);
    }
    TemporaryFolder folder;
};

TEST_F(CalibrateCommand, aKnownPatchOfASimulatedFlightGivesTheMakersConstant) {
    const Patch patch(folder.path() / "flight");
    ASSERT_NE(patch.region, "");
    const std::string region = " --type irradiance --region '" + patch.region + "'";
    const std::string value = std::to_string(patch.reflectance);
    const Result result = radiometry(
        folder,
        "calibrate flight/images/IMG_0000_1.tif -o out.json --reflectance BLUE=" + value + region);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("by the maker's constant: reflectance 0."));
    const SensitivityFile file = readSensitivityFile(folder.file("out.json"));
    ASSERT_EQ(file.cameras.size(), 1U);
    // 3 % of noise, averaged over 256 pixels.
    EXPECT_NEAR(file.cameras[0].sensitivity.at(0) / 655.36, 1.0, 0.01);
    EXPECT_EQ(file.cameras[0].targets.at(0).target.target.region.size(), 5U);

    // The same from the store, and what is refused.
    const std::string stored = "calibrate flight/images/IMG_0000_1.tif --target unknown/P" + region;
    EXPECT_THAT(radiometry(folder, stored).err,
                HasSubstr("radiometry targets set unknown/P 475.0_20.0=VALUE"));
    radiometry(folder, "targets set unknown/P 475_20=" + value);
    const Result again = radiometry(folder, stored + " -o again.json");
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_NEAR(readSensitivityFile(folder.file("again.json")).cameras.at(0).sensitivity.at(0),
                file.cameras[0].sensitivity[0],
                1e-4);
    const Result other = radiometry(
        folder, "calibrate flight/images/IMG_0000_1.tif --reflectance Bleu=0.5" + region);
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("no image has a band Bleu; there are: Blue"));
}

TEST_F(CalibrateCommand, aRegionThatLeavesTheImageIsSaidToDoSo) {
    const Result result = radiometry(folder,
                                     "calibrate flight/images/IMG_0000_1.tif --reflectance "
                                     "BLUE=0.5 --region '1,1 5,1 5,9999 1,5'");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err,
                HasSubstr("IMG_0000_1.tif: --region: the corner 5,9999 does not lie in the image"));
}

TEST_F(CalibrateCommand, imagesWithoutTargetAreNamed) {
    const Result none = radiometry(folder, "calibrate flight/images/IMG_0001_1.tif -o out.json");
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("IMG_0001_1.tif: no target was found"));
    EXPECT_FALSE(fs::exists(folder.file("out.json")));
}

TEST_F(CalibrateCommand, validateTellsWhatIsMissing) {
    EXPECT_EQ(radiometry(folder, "validate flight/images").status, 0);
    const Result result = radiometry(folder, "validate flight/images --type sun-angle --json");
    EXPECT_EQ(result.status, 2);
    const OrderedJson cameras = OrderedJson::parse(result.out);
    ASSERT_EQ(cameras.size(), 5U);
    EXPECT_EQ(cameras[0]["problems"].size(), 2U);
    EXPECT_EQ(cameras[0]["problems"][0]["missing"],
              OrderedJson::parse(R"(["sun-irradiance-orientation"])"));
}

SensitivityFile someFile() {
    CameraSensitivity camera;
    camera.cameraId = 18446744073709551615ULL; // more than a double can hold
    camera.name = "cam";
    camera.type = radiometry::CorrectionType::CameraAndSunIrradiance;
    camera.sensitivity = {0.1, 655.36};
    camera.source = "one panel";
    radiometry::MeasuredTarget target;
    target.imagePath = "a.tif";
    target.cameraId = camera.cameraId;
    target.target = {TargetType::Tags6, "7", {{1, 2}, {3, 4}, {1, 2}}, {1.0 / 3.0}, {0.5}};
    target.mean = {1.0 / 7.0};
    target.standardDeviation = {0.01};
    target.invalidShare = {0.0};
    target.histogram = {{0.5, 1.5, {1, 2, 3}}};
    target.isUsed = true;
    target.remark = "r";
    camera.targets = {{target, "targets/a.png"}};
    return {{camera}};
}

TEST(SensitivityFile, comesBackAsItWas) {
    const TemporaryFolder folder;
    const SensitivityFile file = someFile();
    writeSensitivityFile(folder.file("s.json"), file);
    const SensitivityFile read = readSensitivityFile(folder.file("s.json"));
    EXPECT_EQ(read.cameras.at(0).cameraId, file.cameras[0].cameraId);
    EXPECT_EQ(read.cameras[0].sensitivity, file.cameras[0].sensitivity);
    EXPECT_EQ(toJson(read.cameras[0].targets.at(0)), toJson(file.cameras[0].targets[0]));

    InputImage image;
    image.cameraId = 5;
    image.exif.bandCount = 2;
    const auto type = file.cameras[0].type;
    EXPECT_TRUE(sensitivityFor(image, type, read).empty());
    image.cameraId = file.cameras[0].cameraId;
    EXPECT_EQ(sensitivityFor(image, type, read), file.cameras[0].sensitivity);
    EXPECT_THROW(sensitivityFor(image, radiometry::CorrectionType::CameraOnly, read), Refusal);
    image.exif.bandCount = 1;
    EXPECT_THROW(sensitivityFor(image, type, read), Refusal);
}

TEST(SensitivityFile, isReadWithCare) {
    const TemporaryFolder folder;
    const std::string path = folder.file("s.json");
    writeSensitivityFile(path, someFile());
    const OrderedJson good = OrderedJson::parse(readAll(path));
    struct Case {
        const char* pointer;
        OrderedJson value;
        const char* message;
    };
    const std::vector<Case> cases = {
        {"/format", "plan", "format: not \"radiometry sensitivity\""},
        {"/schema_version", 2, "schema_version: not 1, the one that is understood"},
        {"/cameras/0/sensitivity/1",
         0.0,
         "cameras[0].sensitivity[1]: not a positive, finite number"},
        {"/cameras/0/sensitivity/0",
         -1,
         "cameras[0].sensitivity[0]: not a positive, finite number"},
        {"/cameras/0/sensitivity/0", OrderedJson(), "cameras[0].sensitivity[0]: not a number"},
        {"/cameras/0/sensitivity", OrderedJson::array(), "cameras[0].sensitivity: no band"},
        {"/cameras/0/id", "12x", "cameras[0].id: not an identifier"},
        {"/cameras/0/correction_type", "sun", "cameras[0].correction_type: not a correction type"},
        {"/cameras/0/targets/0/type", "panel", "cameras[0].targets[0].type: not a type of target"},
        {"/cameras/0", OrderedJson::object(), "cameras[0]: no \"id\""},
        {"/cameras/1", good["cameras"][0], "cameras[1].id: a camera that is there twice"},
    };
    const auto messageOf = [&path](const std::string& text) {
        std::ofstream(path) << text;
        return test::messageOf<std::runtime_error>([&path] { (void)readSensitivityFile(path); });
    };
    for (const Case& c : cases) {
        OrderedJson bad = good;
        bad[OrderedJson::json_pointer(c.pointer)] = c.value;
        EXPECT_EQ(messageOf(bad.dump()), path + ": " + c.message);
    }
    EXPECT_THAT(messageOf(good.dump().substr(0, 100)), HasSubstr(path + ": not JSON: "));
    fs::remove(path);
    EXPECT_EQ(test::messageOf<std::runtime_error>([&path] { (void)readSensitivityFile(path); }),
              path + ": cannot be read");
}

TEST(Region, isCornersInPixels) {
    EXPECT_EQ(parseRegion("1,2 3.6,4  5,6").size(), 4U);
    EXPECT_EQ(parseRegion("1,2 3.6,4  5,6")[1].x(), 4);
    for (const char* bad :
         {"", "1,2 3,4", "1,2 3,4 5", "1,2 3,4 x,6", "1,2 3,4 5,nan", "1,2 3,4 5,1e10"}) {
        EXPECT_TRUE(parseRegion(bad).empty()) << bad;
    }
}

} // namespace
} // namespace tessik::app
