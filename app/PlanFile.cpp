#include "CorrectionWords.h"
#include "Plan.h"
#include "Poses.h"
#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <stdexcept>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kFormat = "radiometry plan";

Json orNull(bool isKnown, Json value) {
    return isKnown ? std::move(value) : Json();
}

std::string dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// --- Writing

Json cameraJson(const PlannedCamera& camera, const Project& project) {
    Json bands = Json::array();
    for (std::size_t b = 0; b < std::max(camera.bands.size(), camera.bandNames.size()); ++b) {
        const bool hasWavelength = b < camera.bands.size();
        bands.push_back(
            {{"name", orNull(b < camera.bandNames.size(), camera.bandNames.at(b))},
             {"wavelength_nm", hasWavelength ? Json(camera.bands[b].wavelengthNm) : Json()},
             {"fwhm_nm", hasWavelength ? Json(camera.bands[b].fwhmNm) : Json()}});
    }
    const auto sensitivity = project.sensitivities.find(camera.id);
    const bool hasSensitivity = sensitivity != project.sensitivities.end();
    const SensitivitySource& source = camera.sensitivitySource;
    return {{"id", std::to_string(camera.id)},
            {"name", camera.name},
            {"make", camera.make},
            {"model", camera.model},
            {"width", camera.width},
            {"height", camera.height},
            {"bands", bands},
            {"images", camera.imageCount},
            {"correction_type", wordOf(project.settings.at(camera.id).correctionType)},
            {"missing", camera.missing},
            {"sensitivity", hasSensitivity ? Json(sensitivity->second) : Json()},
            {"sensitivity_source",
             orNull(hasSensitivity, {{"kind", source.kind}, {"text", source.text}})}};
}

Json sunlightJson(const Sunlight& sunlight) {
    Json list = Json::array();
    for (const auto& [band, fraction] : sunlight.fractions) {
        const auto error = sunlight.standardErrors.find(band);
        list.push_back({{"wavelength_nm", band.wavelengthNm},
                        {"fwhm_nm", band.fwhmNm},
                        {"fraction", fraction},
                        {"standard_error",
                         error == sunlight.standardErrors.end() ? Json() : Json(error->second)},
                        {"model", sunlight.model}});
    }
    return list;
}

Json headJson(const Plan& plan) {
    const Project& project = plan.project;
    Json mount;
    if (project.sensorMount) {
        mount = {(*project.sensorMount)[0], (*project.sensorMount)[1], (*project.sensorMount)[2]};
    }
    Json center;
    if (project.center) {
        center = {{"latitude_deg", project.center->latitude},
                  {"longitude_deg", project.center->longitude},
                  {"altitude_m", project.center->height}};
    }
    Json cameras = Json::array();
    for (const PlannedCamera& camera : plan.cameras) {
        cameras.push_back(cameraJson(camera, project));
    }
    Json failures = Json::array();
    for (const PlanFailure& failure : plan.failures) {
        failures.push_back({{"path", failure.path}, {"reason", failure.reason}});
    }
    Json warnings = Json::array();
    for (const Warning& warning : plan.warnings) {
        warnings.push_back({{"path", warning.path}, {"text", warning.text}});
    }
    return {{"format", kFormat},
            {"schema_version", Plan::kSchemaVersion},
            {"library_version", plan.libraryVersion},
            {"options",
             {{"type", plan.type},
              {"sunlight", plan.sunlight},
              {"targets", plan.targetsAsked},
              {"utc_offset_hours", plan.utcOffsetHours ? Json(*plan.utcOffsetHours) : Json()},
              {"sensor_mount_deg", mount},
              {"sequoia_calibration",
               orNull(!plan.sequoiaCalibration.empty(), plan.sequoiaCalibration.string())}}},
            {"center", center},
            {"cameras", cameras},
            {"sunlight", sunlightJson(project.sunlight)},
            {"sunlight_failure", orNull(!project.sunlightFailure.empty(), project.sunlightFailure)},
            {"targets", *plan.targets},
            {"failures", failures},
            {"warnings", warnings}};
}

// --- Reading. What is missing or of another type throws; readPlan adds the file's name.

std::string textOrEmpty(const Json& json) {
    return json.is_null() ? std::string() : json.get<std::string>();
}

std::uint64_t idOf(const Json& json) {
    const auto text = json.get<std::string>();
    std::uint64_t id = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (text.empty() || failure != std::errc() || end != text.data() + text.size()) {
        throw std::runtime_error("no camera identifier: \"" + text + "\"");
    }
    return id;
}

std::optional<double> numberOrNone(const Json& json) {
    return json.is_null() ? std::nullopt : std::optional<double>(json.get<double>());
}

double finite(const Json& json) {
    const auto number = json.get<double>();
    if (!std::isfinite(number)) {
        throw std::runtime_error("a number that is not finite");
    }
    return number;
}

PlannedCamera readCamera(const Json& json, Project& project) {
    PlannedCamera camera;
    camera.id = idOf(json.at("id"));
    camera.name = json.at("name").get<std::string>();
    camera.make = json.at("make").get<std::string>();
    camera.model = json.at("model").get<std::string>();
    camera.width = json.at("width").get<std::uint64_t>();
    camera.height = json.at("height").get<std::uint64_t>();
    camera.imageCount = json.at("images").get<std::size_t>();
    camera.missing = json.at("missing").get<std::map<std::string, std::vector<std::string>>>();
    for (const Json& band : json.at("bands")) {
        if (!band.at("name").is_null()) {
            camera.bandNames.push_back(band.at("name").get<std::string>());
        }
        if (!band.at("wavelength_nm").is_null()) {
            camera.bands.push_back({finite(band.at("wavelength_nm")), finite(band.at("fwhm_nm"))});
        }
    }
    const auto word = json.at("correction_type").get<std::string>();
    const auto type = typeOf(word);
    if (!type) {
        throw std::runtime_error("no correction type: \"" + word + "\"");
    }
    if (!project.settings.try_emplace(camera.id, radiometry::Settings{*type}).second) {
        throw std::runtime_error("camera " + std::to_string(camera.id) + " is listed twice");
    }
    if (const Json& list = json.at("sensitivity"); !list.is_null()) {
        std::vector<double>& sensitivity = project.sensitivities[camera.id];
        for (const Json& value : list) {
            sensitivity.push_back(finite(value));
            if (!(sensitivity.back() > 0.0)) {
                throw std::runtime_error("a sensitivity that is not above 0");
            }
        }
        const Json& source = json.at("sensitivity_source");
        camera.sensitivitySource = {source.at("kind").get<std::string>(),
                                    source.at("text").get<std::string>()};
    }
    return camera;
}

Sunlight readSunlight(const Json& json) {
    Sunlight sunlight;
    for (const Json& entry : json) {
        const BandInfo band{finite(entry.at("wavelength_nm")), finite(entry.at("fwhm_nm"))};
        const double fraction = finite(entry.at("fraction"));
        if (fraction < 0.0 || fraction > 1.0) {
            throw std::runtime_error("a fraction of direct sunlight outside 0..1");
        }
        sunlight.fractions[band] = fraction;
        if (const auto error = numberOrNone(entry.at("standard_error"))) {
            sunlight.standardErrors[band] = *error;
        }
        sunlight.model = entry.at("model").get<std::string>();
    }
    return sunlight;
}

/// An output stays below the output folder, whatever the plan says.
void checkOutput(const std::string& output) {
    const fs::path path(output);
    const bool climbs = std::find(path.begin(), path.end(), "..") != path.end();
    if (output.empty() || path.is_absolute() || climbs || !path.has_filename()) {
        throw std::runtime_error("an output outside the output folder: \"" + output + "\"");
    }
}

void readOptions(const Json& json, Plan& plan) {
    plan.type = json.at("type").get<std::string>();
    plan.sunlight = json.at("sunlight").get<std::string>();
    plan.targetsAsked = json.at("targets").get<std::string>();
    plan.utcOffsetHours = numberOrNone(json.at("utc_offset_hours"));
    plan.sequoiaCalibration = textOrEmpty(json.at("sequoia_calibration"));
    plan.project.isTypeChosen = plan.type != "auto";
    if (const Json& mount = json.at("sensor_mount_deg"); !mount.is_null()) {
        const auto angles = mount.get<std::array<float, 3>>();
        plan.project.sensorMount = Eigen::Vector3f(angles[0], angles[1], angles[2]);
    }
}

Plan planOf(const Json& json) {
    if (json.value("format", "") != kFormat) {
        throw std::runtime_error("not a plan");
    }
    if (const int version = json.at("schema_version").get<int>(); version != Plan::kSchemaVersion) {
        throw std::runtime_error("a plan of schema version " + std::to_string(version) +
                                 "; this program reads version " +
                                 std::to_string(Plan::kSchemaVersion));
    }
    Plan plan;
    plan.libraryVersion = json.at("library_version").get<std::string>();
    readOptions(json.at("options"), plan);
    if (const Json& center = json.at("center"); !center.is_null()) {
        plan.project.center = GeoPosition{finite(center.at("latitude_deg")),
                                          finite(center.at("longitude_deg")),
                                          finite(center.at("altitude_m"))};
    }
    plan.project.coordinateSystems = coordinateSystemsAt(plan.project.center);
    for (const Json& camera : json.at("cameras")) {
        plan.cameras.push_back(readCamera(camera, plan.project));
    }
    plan.project.sunlight = readSunlight(json.at("sunlight"));
    plan.project.sunlightFailure = textOrEmpty(json.at("sunlight_failure"));
    plan.targets = std::make_shared<Json>(json.at("targets"));
    for (const Json& failure : json.at("failures")) {
        plan.failures.push_back(
            {failure.at("path").get<std::string>(), failure.at("reason").get<std::string>()});
    }
    for (const Json& warning : json.at("warnings")) {
        plan.warnings.push_back(
            {warning.at("path").get<std::string>(), warning.at("text").get<std::string>()});
    }
    for (const Json& image : json.at("images")) {
        PlannedImage entry{image.at("path").get<std::string>(),
                           image.at("output").get<std::string>(),
                           idOf(image.at("camera"))};
        checkOutput(entry.output);
        if (plan.project.settings.count(entry.cameraId) == 0) {
            throw std::runtime_error("an image of a camera that is not listed: " + entry.path);
        }
        plan.images.push_back(std::move(entry));
    }
    return plan;
}

/// One image of each camera says which body it is.
void loadModels(Plan& plan) {
    CamerasData cameras;
    std::vector<InputImage> images;
    for (const PlannedImage& planned : plan.images) {
        if (cameras.count(planned.cameraId) == 0) {
            images.push_back(exif::inputImage(planned.path, exif::readMetadata(planned.path)));
            cameras.emplace(planned.cameraId, cameraData(images.back().exif));
        }
    }
    loadSequoiaModels(cameras, images, plan.sequoiaCalibration, plan.project);
}

} // namespace

void writePlan(const Plan& plan, const fs::path& file) {
    // The images come last, a line each: there may be thousands, and people read what is above.
    std::string text = headJson(plan).dump(2, ' ', false, Json::error_handler_t::replace);
    text.erase(text.rfind('\n'));
    text += ",\n  \"images\": [";
    const char* separator = "\n";
    for (const PlannedImage& image : plan.images) {
        text += separator;
        text += "    " + dump({{"path", image.path},
                               {"output", image.output},
                               {"camera", std::to_string(image.cameraId)}});
        separator = ",\n";
    }
    text += "\n  ]\n}\n";
    image::PendingFile pending(file.string());
    std::ofstream stream(pending.temporaryPath(), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) {
        throw image::Error(file.string() + ": cannot be written");
    }
    pending.commit();
}

Plan readPlan(const fs::path& file) {
    try {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) {
            throw std::runtime_error("cannot be opened");
        }
        Plan plan = planOf(Json::parse(stream));
        if (!plan.sequoiaCalibration.empty()) {
            loadModels(plan);
        }
        return plan;
    } catch (const std::exception& failure) {
        throw std::runtime_error(file.string() + ": " + failure.what());
    }
}

} // namespace tessik::app
