#include "flight/target/SensitivityFile.h"

#include "flight/input/Pixels.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;
using testing::HasSubstr;

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
    const Json good = readJson(path);
    struct Case {
        const char* pointer;
        Json value;
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
        {"/cameras/0/sensitivity/0", Json(), "cameras[0].sensitivity[0]: not a number"},
        {"/cameras/0/sensitivity", Json::array(), "cameras[0].sensitivity: no band"},
        {"/cameras/0/id", "12x", "cameras[0].id: not an identifier"},
        {"/cameras/0/correction_type", "sun", "cameras[0].correction_type: not a correction type"},
        {"/cameras/0/targets/0/type", "panel", "cameras[0].targets[0].type: not a type of target"},
        {"/cameras/0", Json::object(), "cameras[0]: no \"id\""},
        {"/cameras/1", good["cameras"][0], "cameras[1].id: a camera that is there twice"},
    };
    const auto messageOf = [&path](const std::string& text) {
        std::ofstream(path) << text;
        return test::messageOf<std::runtime_error>([&path] { (void)readSensitivityFile(path); });
    };
    for (const Case& c : cases) {
        Json bad = good;
        bad[Json::json_pointer(c.pointer)] = c.value;
        EXPECT_EQ(messageOf(bad.dump()), path + ": " + c.message);
    }
    EXPECT_THAT(messageOf(good.dump().substr(0, 100)), HasSubstr(path + ": not JSON: "));
    fs::remove(path);
    EXPECT_EQ(test::messageOf<std::runtime_error>([&path] { (void)readSensitivityFile(path); }),
              path + ": cannot be read");
}

} // namespace
} // namespace tessik::flight
