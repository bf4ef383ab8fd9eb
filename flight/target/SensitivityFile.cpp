#include "flight/target/SensitivityFile.h"

#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"

#include <cmath>
#include <set>

namespace tessik::flight {
namespace {

constexpr auto kSensitivityFormat = "radiometry sensitivity";
constexpr int kSchemaVersion = 1;

std::vector<double> sensitivityOf(const JsonReader& json) {
    std::vector<double> values;
    for (const JsonReader& item : json.items()) {
        const double value = item.number();
        if (!std::isfinite(value) || value <= 0.0) {
            item.fail("not a positive, finite number");
        }
        values.push_back(value);
    }
    if (values.empty()) {
        json.fail("no band");
    }
    return values;
}

CameraSensitivity cameraOf(const JsonReader& json) {
    CameraSensitivity camera;
    camera.cameraId = json["id"].id();
    camera.name = json["name"].text();
    const auto type = typeOf(json["correction_type"].text());
    if (!type) {
        json["correction_type"].fail("not a correction type");
    }
    camera.type = *type;
    camera.sensitivity = sensitivityOf(json["sensitivity"]);
    camera.source = json["source"].text();
    for (const JsonReader& target : json["targets"].items()) {
        camera.targets.push_back(targetRecord(target));
    }
    return camera;
}

} // namespace

void writeSensitivityFile(const std::string& path, const SensitivityFile& file) {
    Json cameras = Json::array();
    for (const CameraSensitivity& camera : file.cameras) {
        Json targets = Json::array();
        for (const TargetRecord& target : camera.targets) {
            targets.push_back(toJson(target));
        }
        cameras.push_back({{"id", std::to_string(camera.cameraId)},
                           {"name", camera.name},
                           {"correction_type", wordOf(camera.type)},
                           {"sensitivity", camera.sensitivity},
                           {"source", camera.source},
                           {"targets", targets}});
    }
    const Json document = {{"format", kSensitivityFormat},
                           {"schema_version", kSchemaVersion},
                           {"library_version", RADIOMETRY_VERSION},
                           {"cameras", cameras}};
    writeWhole(path, textOf(document, 2) + "\n");
}

SensitivityFile readSensitivityFile(const std::string& path) {
    const Json document = readJson(path);
    const JsonReader json(document, path);
    if (json["format"].text() != kSensitivityFormat) {
        json["format"].fail("not \"" + std::string(kSensitivityFormat) + "\"");
    }
    if (json["schema_version"].integer() != kSchemaVersion) {
        json["schema_version"].fail("not " + std::to_string(kSchemaVersion) +
                                    ", the one that is understood");
    }
    SensitivityFile file;
    std::set<std::uint64_t> ids;
    for (const JsonReader& camera : json["cameras"].items()) {
        file.cameras.push_back(cameraOf(camera));
        if (!ids.insert(file.cameras.back().cameraId).second) {
            camera["id"].fail("a camera that is there twice");
        }
    }
    return file;
}

std::vector<double> sensitivityFor(const InputImage& image,
                                   radiometry::CorrectionType type,
                                   const SensitivityFile& file) {
    for (const CameraSensitivity& camera : file.cameras) {
        if (camera.cameraId != image.cameraId) {
            continue;
        }
        if (camera.type != type) {
            throw Refusal("the camera's sensitivity was measured with --type " +
                          wordOf(camera.type) + ", and does not hold for " + wordOf(type));
        }
        if (camera.sensitivity.size() != image.exif.bandCount) {
            throw Refusal("the camera's sensitivity is of " +
                          std::to_string(camera.sensitivity.size()) + " bands, the image has " +
                          std::to_string(image.exif.bandCount));
        }
        return camera.sensitivity;
    }
    return {};
}

} // namespace tessik::flight
