#include "flight/plan/PlanFile.h"

#include "flight/json/CorrectionWords.h"
#include "flight/light/Poses.h"
#include "platform/exif/ExifReader.h"
#include "platform/math/Angle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPlanFormat = "radiometry plan";

// --- Writing

Json clipsAtJson(const PlannedCamera& camera, const Project& project) {
    if (!camera.clipsAt) {
        return {};
    }
    return {{"dn", camera.clipsAt->atFirstRow},
            {"dn_per_row", camera.clipsAt->perRow},
            {"found", project.clipLimits.count(camera.id) > 0}};
}

Json uncertaintyJson(const PlannedCamera& camera, const UncertaintyByCamera& uncertainties) {
    Json list = Json::array();
    const auto found = uncertainties.find(camera.id);
    for (std::size_t b = 0; found != uncertainties.end() && b < found->second.size(); ++b) {
        const BandUncertainty& band = found->second[b];
        Json terms = Json::array();
        for (const UncertaintyTerm& term : band.terms) {
            terms.push_back(
                {{"name", term.name}, {"kind", wordOf(term.kind)}, {"value", term.value}});
        }
        list.push_back(
            {{"band", b < camera.bandNames.size() ? Json(camera.bandNames[b]) : Json()},
             {"systematic", orNull(std::optional(band.of(UncertaintyTerm::Kind::Systematic)))},
             {"random", orNull(std::optional(band.of(UncertaintyTerm::Kind::Random)))},
             {"terms", terms},
             {"not_included", band.notIncluded}});
    }
    return list;
}

Json courseJson(const Sensitivity& sensitivity) {
    Json list = Json::array();
    for (const TimedSensitivity& moment : sensitivity.course) {
        list.push_back({{"time_unix", moment.time}, {"values", moment.values}});
    }
    return list;
}

Json lightJson(const Plan& plan) {
    Json rigs = Json::array();
    for (const RigLight& light : plan.decisions.project.lights) {
        Json cameras = Json::array();
        for (const std::uint64_t camera : light.cameras) {
            cameras.push_back(std::to_string(camera));
        }
        Json mount;
        if (light.mount) {
            mount = {light.mount->forward / kDegree, light.mount->right / kDegree};
        }
        rigs.push_back(
            {{"cameras", cameras},
             {"state", wordOf(light.sky.state)},
             {"reason", light.sky.reason},
             {"refusal", orNull(light.sky.refusal)},
             {"correction_type", wordOf(light.type)},
             {"type_reason", light.typeReason},
             {"jitter", {{"raw", orNull(light.jitterRaw)}, {"steady", orNull(light.jitterSteady)}}},
             {"mount_deg", mount},
             {"choice", light.isSteady ? "steady" : "raw"}});
    }
    return {{"asked", plan.light}, {"rigs", rigs}};
}

Json cameraJson(const PlannedCamera& camera, const Plan& plan) {
    const Decisions& decisions = plan.decisions;
    const Project& project = decisions.project;
    Json bands = Json::array();
    for (std::size_t b = 0; b < std::max(camera.bands.size(), camera.bandNames.size()); ++b) {
        bands.push_back(bandJson(b < camera.bandNames.size() ? &camera.bandNames[b] : nullptr,
                                 b < camera.bands.size() ? &camera.bands[b] : nullptr));
    }
    Json sensitivity;
    Json source;
    if (const auto found = decisions.sensitivities.find(camera.id);
        found != decisions.sensitivities.end()) {
        sensitivity = found->second.values;
        source = {{"kind", found->second.kind}, {"text", found->second.text}};
        if (!found->second.course.empty()) {
            source["course"] = courseJson(found->second);
        }
    }
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
            {"unit", orNull(camera.unit)},
            {"clips_at", clipsAtJson(camera, project)},
            {"sensitivity", sensitivity},
            {"sensitivity_source", source},
            {"uncertainty", uncertaintyJson(camera, plan.uncertainties)}};
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

// --- Reading

std::string textOrEmpty(const JsonReader& json) {
    return json.isNull() ? std::string() : json.text();
}

std::optional<double> numberOrNone(const JsonReader& json) {
    return json.isNull() ? std::nullopt : std::optional<double>(json.number());
}

std::uint64_t count(const JsonReader& json) {
    const std::int64_t number = json.integer();
    if (number < 0) {
        json.fail("below 0");
    }
    return static_cast<std::uint64_t>(number);
}

std::vector<std::string> texts(const JsonReader& json) {
    std::vector<std::string> list;
    for (const JsonReader& item : json.items()) {
        list.push_back(item.text());
    }
    return list;
}

BandInfo bandOf(const JsonReader& json) {
    return {json["wavelength_nm"].number(), json["fwhm_nm"].number()};
}

void readSensitivity(const JsonReader& json, std::uint64_t camera, Decisions& decisions) {
    if (json["sensitivity"].isNull()) {
        return;
    }
    const std::vector<double> sensitivity = json["sensitivity"].numbers();
    if (!std::all_of(sensitivity.begin(), sensitivity.end(), [](double s) { return s > 0.0; })) {
        json["sensitivity"].fail("a sensitivity that is not above 0");
    }
    const JsonReader source = json["sensitivity_source"];
    Sensitivity& read = decisions.sensitivities[camera];
    read = {sensitivity, source["kind"].text(), source["text"].text(), {}};
    if (!source.has("course")) {
        return;
    }
    for (const JsonReader& moment : source["course"].items()) {
        read.course.push_back({moment["time_unix"].number(), moment["values"].numbers()});
        const TimedSensitivity& last = read.course.back();
        const bool isLater =
            read.course.size() < 2 || last.time > read.course[read.course.size() - 2].time;
        if (!isLater || last.values.size() != sensitivity.size() ||
            !std::all_of(
                last.values.begin(), last.values.end(), [](double s) { return s > 0.0; })) {
            moment.fail("not a later moment with a sensitivity above 0 for each band");
        }
    }
}

std::vector<BandUncertainty> readUncertainty(const JsonReader& json) {
    std::vector<BandUncertainty> bands;
    for (const JsonReader& band : json.items()) {
        BandUncertainty& uncertainty = bands.emplace_back();
        for (const JsonReader& term : band["terms"].items()) {
            const auto kind = termKindOf(term["kind"].text());
            if (!kind) {
                term["kind"].fail("not a kind of uncertainty");
            }
            uncertainty.terms.push_back({term["name"].text(), *kind, term["value"].number()});
        }
        uncertainty.notIncluded = texts(band["not_included"]);
    }
    return bands;
}

/// Plans of older versions do not tell.
void readLight(const JsonReader& json, Plan& plan) {
    if (!json.has("light")) {
        return;
    }
    plan.light = json["light"]["asked"].text();
    for (const JsonReader& rig : json["light"]["rigs"].items()) {
        RigLight& light = plan.decisions.project.lights.emplace_back();
        for (const JsonReader& camera : rig["cameras"].items()) {
            light.cameras.push_back(camera.id());
        }
        light.sky = {skyStateOf(rig["state"].text()),
                     rig["reason"].text(),
                     rig.has("refusal") ? textOrEmpty(rig["refusal"]) : ""};
        light.type = typeOf(rig["correction_type"].text())
                         .value_or(radiometry::CorrectionType::NoCorrection);
        light.typeReason = rig["type_reason"].text();
        light.jitterRaw = numberOrNone(rig["jitter"]["raw"]);
        light.jitterSteady = numberOrNone(rig["jitter"]["steady"]);
        if (!rig["mount_deg"].isNull()) {
            const std::vector<double> angles = rig["mount_deg"].numbers();
            if (angles.size() != 2) {
                rig["mount_deg"].fail("not two angles");
            }
            light.mount = Lean{angles[0] * kDegree, angles[1] * kDegree};
        }
        light.isSteady = rig["choice"].text() == "steady";
    }
    for (const JsonReader& witness : json["witnesses"].items()) {
        plan.witnesses.push_back(witnessOf(witness));
    }
}

/// Plans of older versions do not tell.
void readClipsAt(const JsonReader& json, PlannedCamera& camera, Project& project) {
    if (!json.has("clips_at") || json["clips_at"].isNull()) {
        return;
    }
    const JsonReader limit = json["clips_at"];
    camera.clipsAt = ClipLine{limit["dn"].number(), limit["dn_per_row"].number()};
    if (limit["found"].flag()) {
        constexpr double kLargest = 65535.0;
        if (!(camera.clipsAt->atFirstRow > 0.0 && camera.clipsAt->atFirstRow <= kLargest)) {
            limit["dn"].fail("not a value of 16 bits");
        }
        project.clipLimits[camera.id] = camera.clipsAt->atFirstRow;
    }
}

/// Readings that a plan states in place of the files' own.
std::vector<double> readIrradiance(const JsonReader& image) {
    if (!image.has("sun_irradiance")) {
        return {};
    }
    std::vector<double> readings = image["sun_irradiance"].numbers();
    if (!std::all_of(readings.begin(), readings.end(), [](double value) {
            return std::isfinite(value) && value > 0.0;
        })) {
        image["sun_irradiance"].fail("a reading that is not above 0");
    }
    return readings;
}

PlannedCamera readCamera(const JsonReader& json, Decisions& decisions) {
    Project& project = decisions.project;
    PlannedCamera camera;
    camera.id = json["id"].id();
    camera.name = json["name"].text();
    camera.make = json["make"].text();
    camera.model = json["model"].text();
    camera.width = count(json["width"]);
    camera.height = count(json["height"]);
    camera.imageCount = count(json["images"]);
    for (const radiometry::CorrectionType type : correctionTypes()) {
        if (const std::string word = wordOf(type); json["missing"].has(word)) {
            camera.missing[word] = texts(json["missing"][word]);
        }
    }
    for (const JsonReader& band : json["bands"].items()) {
        if (!band["name"].isNull()) {
            camera.bandNames.push_back(band["name"].text());
        }
        if (!band["wavelength_nm"].isNull()) {
            camera.bands.push_back(bandOf(band));
        }
    }
    if (json.has("unit")) {
        camera.unit = textOrEmpty(json["unit"]);
    }
    readClipsAt(json, camera, project);
    const auto type = typeOf(json["correction_type"].text());
    if (!type) {
        json["correction_type"].fail("not a correction type");
    }
    if (!project.settings.try_emplace(camera.id, radiometry::Settings{*type}).second) {
        json["id"].fail("a camera that is there twice");
    }
    readSensitivity(json, camera.id, decisions);
    return camera;
}

Sunlight readSunlight(const JsonReader& json) {
    Sunlight sunlight;
    for (const JsonReader& entry : json.items()) {
        const BandInfo band = bandOf(entry);
        const double fraction = entry["fraction"].number();
        if (fraction < 0.0 || fraction > 1.0) {
            entry["fraction"].fail("outside 0..1");
        }
        sunlight.fractions[band] = fraction;
        if (const auto error = numberOrNone(entry["standard_error"])) {
            sunlight.standardErrors[band] = *error;
        }
        sunlight.model = entry["model"].text();
    }
    return sunlight;
}

/// An output stays below the output folder, whatever the plan says.
std::string outputOf(const JsonReader& json) {
    std::string output = json.text();
    const fs::path path(output);
    const bool climbs = std::find(path.begin(), path.end(), "..") != path.end();
    if (output.find('\0') != std::string::npos || path.is_absolute() || climbs ||
        !path.has_filename() || path.filename() == ".") {
        json.fail("outside the output folder");
    }
    return output;
}

void readOptions(const JsonReader& json, Plan& plan) {
    plan.type = json["type"].text();
    plan.sunlight = json["sunlight"].text();
    plan.targetsAsked = json["targets"].text();
    plan.metadata.utcOffsetHours = numberOrNone(json["utc_offset_hours"]);
    plan.sequoiaCalibration = textOrEmpty(json["sequoia_calibration"]);
    plan.decisions.project.isTypeChosen = plan.type != "auto";
    if (json.has("calibration_from")) {
        plan.calibrationFrom = texts(json["calibration_from"]);
    }
    if (!json["sensor_mount_deg"].isNull()) {
        const std::vector<double> angles = json["sensor_mount_deg"].numbers();
        constexpr double kLargest = std::numeric_limits<float>::max();
        const auto isAngle = [](double angle) { return std::abs(angle) <= kLargest; };
        if (angles.size() != 3 || !std::all_of(angles.begin(), angles.end(), isAngle)) {
            json["sensor_mount_deg"].fail("not three angles");
        }
        plan.decisions.project.sensorMount =
            Eigen::Vector3d(angles[0], angles[1], angles[2]).cast<float>();
    }
}

Plan planOf(const JsonReader& json) {
    if (!json.has("format") || json["format"].text() != kPlanFormat) {
        json.fail("not a plan");
    }
    if (json["schema_version"].integer() != Plan::kSchemaVersion) {
        json["schema_version"].fail("not " + std::to_string(Plan::kSchemaVersion) +
                                    ", the one that is understood");
    }
    Plan plan;
    plan.libraryVersion = json["library_version"].text();
    readOptions(json["options"], plan);
    if (const JsonReader center = json["center"]; !center.isNull()) {
        plan.decisions.project.center = GeoPosition{center["latitude_deg"].number(),
                                                    center["longitude_deg"].number(),
                                                    center["altitude_m"].number()};
        if (std::abs(plan.decisions.project.center->latitude) > 90.0 ||
            std::abs(plan.decisions.project.center->longitude) > 360.0) {
            center.fail("not on the earth");
        }
    }
    plan.decisions.project.coordinateSystems = coordinateSystemsAt(plan.decisions.project.center);
    for (const JsonReader& camera : json["cameras"].items()) {
        plan.cameras.push_back(readCamera(camera, plan.decisions));
        if (camera.has("uncertainty")) {
            plan.uncertainties[plan.cameras.back().id] = readUncertainty(camera["uncertainty"]);
        }
    }
    plan.decisions.project.sunlight = readSunlight(json["sunlight"]);
    plan.decisions.project.sunlightFailure = textOrEmpty(json["sunlight_failure"]);
    readLight(json, plan);
    for (const JsonReader& target : json["targets"].items()) {
        plan.targets.push_back(targetRecord(target));
    }
    for (const JsonReader& failure : json["failures"].items()) {
        plan.failures.push_back({failure["path"].text(), failure["reason"].text()});
    }
    for (const JsonReader& warning : json["warnings"].items()) {
        plan.warnings.push_back({warning["path"].text(), warning["text"].text()});
    }
    std::set<fs::path> outputs;
    for (const JsonReader& image : json["images"].items()) {
        plan.images.push_back({image["path"].text(),
                               outputOf(image["output"]),
                               image["camera"].id(),
                               readIrradiance(image)});
        if (!outputs.insert(fs::path(plan.images.back().output).lexically_normal()).second) {
            image["output"].fail("another image has the same output");
        }
        if (plan.decisions.project.settings.count(plan.images.back().cameraId) == 0) {
            image["camera"].fail("a camera that is not listed");
        }
    }
    return plan;
}

} // namespace

Json headJson(const Plan& plan) {
    const Project& project = plan.decisions.project;
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
        cameras.push_back(cameraJson(camera, plan));
    }
    Json targets = Json::array();
    for (const TargetRecord& target : plan.targets) {
        targets.push_back(toJson(target));
    }
    Json witnesses = Json::array();
    for (const Witness& witness : plan.witnesses) {
        witnesses.push_back(toJson(witness));
    }
    Json failures = Json::array();
    for (const Failure& failure : plan.failures) {
        failures.push_back({{"path", failure.path}, {"reason", failure.reason}});
    }
    Json warnings = Json::array();
    for (const Warning& warning : plan.warnings) {
        warnings.push_back({{"path", warning.path}, {"text", warning.text}});
    }
    return {{"format", kPlanFormat},
            {"schema_version", Plan::kSchemaVersion},
            {"library_version", plan.libraryVersion},
            {"options",
             {{"type", plan.type},
              {"sunlight", plan.sunlight},
              {"targets", plan.targetsAsked},
              {"utc_offset_hours", orNull(plan.metadata.utcOffsetHours)},
              {"calibration_from", plan.calibrationFrom},
              {"sensor_mount_deg", mount},
              {"sequoia_calibration", orNull(plan.sequoiaCalibration.string())}}},
            {"center", center},
            {"cameras", cameras},
            {"sunlight", sunlightJson(project.sunlight)},
            {"sunlight_failure", orNull(project.sunlightFailure)},
            {"light", lightJson(plan)},
            {"witnesses", witnesses},
            {"targets", targets},
            {"failures", failures},
            {"warnings", warnings}};
}

void writePlan(const Plan& plan, const fs::path& file) {
    // The images come last, a line each: there may be thousands, and people read what is above.
    std::string text = textOf(headJson(plan), 2);
    text.erase(text.rfind('\n'));
    text += ",\n  \"images\": [";
    const char* separator = "\n";
    for (const PlannedImage& image : plan.images) {
        text += separator;
        Json entry = {{"path", image.path},
                      {"output", image.output},
                      {"camera", std::to_string(image.cameraId)}};
        if (!image.sunIrradiance.empty()) {
            entry["sun_irradiance"] = image.sunIrradiance;
        }
        text += "    " + textOf(entry);
        separator = ",\n";
    }
    text += "\n  ]\n}\n";
    writeWhole(file.string(), text);
}

Plan readPlan(const fs::path& file) {
    const Json document = readJson(file.string());
    return planOf(JsonReader(document, file.string()));
}

void loadModels(const fs::path& file, Plan& plan, Observer& observer) {
    const auto fail = [&file](const std::string& reason) {
        throw std::runtime_error(file.string() + ": " + reason);
    };
    Project& project = plan.decisions.project;
    project.modelFiles.clear();
    if (!plan.calibrationFrom.empty()) {
        try {
            plan.metadata.donors = std::make_shared<const exif::CalibrationDonors>(
                exif::readDonors(plan.calibrationFrom));
        } catch (const exif::Error& failure) {
            fail(failure.what());
        }
        noteDonors(plan.metadata, project);
    }
    if (plan.sequoiaCalibration.empty()) {
        return;
    }
    // One image of each camera says which body it is.
    CamerasData cameras;
    std::vector<InputImage> images;
    for (const PlannedImage& planned : plan.images) {
        if (cameras.count(planned.cameraId) == 0) {
            try {
                images.push_back(exif::inputImage(planned.path, exif::readMetadata(planned.path)));
            } catch (const exif::Error& failure) {
                fail(planned.path + ": " + failure.what());
            }
            cameras.emplace(planned.cameraId, cameraData(images.back().exif));
        }
    }
    Warnings warnings(observer);
    const Listening listening(observer, warnings);
    loadSequoiaModels(cameras, images, plan.sequoiaCalibration, project, warnings);
}

} // namespace tessik::flight
