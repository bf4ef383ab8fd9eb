#include "report/RunFiles.h"

#include "radiometry/core/Types.h"

#include <algorithm>
#include <fstream>
#include <unordered_map>

namespace tessik::app::report {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kSchemaVersion = 1;

[[noreturn]] void fail(const fs::path& file, const std::string& reason) {
    throw radiometry::error(file.string() + ": " + reason);
}

float floatIn(const json& object, const char* key) {
    return static_cast<float>(numberIn(object, key));
}

std::vector<float> floatsIn(const json& object, const char* key) {
    std::vector<float> values;
    const auto found = object.find(key);
    if (found != object.end() && found->is_array()) {
        values.reserve(found->size());
        for (const json& value : *found) {
            values.push_back(static_cast<float>(value.is_number() ? value.get<double>() : kAbsent));
        }
    }
    return values;
}

json readPlan(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        fail(file, "cannot be read");
    }
    json plan;
    try {
        plan = json::parse(stream);
    } catch (const json::exception& failure) {
        fail(file, std::string("is not a plan: ") + failure.what());
    }
    if (!plan.is_object() || textIn(plan, "format") != "radiometry plan") {
        fail(file, "is not a plan: its format is not \"radiometry plan\"");
    }
    if (numberIn(plan, "schema_version") != kSchemaVersion) {
        fail(file, "is a plan of a version that is not known here");
    }
    for (const char* key : {"cameras", "images", "sunlight", "targets", "failures", "warnings"}) {
        const json& list = plan[key];
        if (list.is_null()) {
            plan[key] = json::array();
            continue;
        }
        if (!list.is_array() ||
            !std::all_of(list.begin(), list.end(), [](const json& j) { return j.is_object(); })) {
            fail(file, std::string("is not a plan: \"") + key + "\" is not a list of objects");
        }
    }
    return plan;
}

std::uint16_t stepIndex(std::vector<std::string>& names, const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    const auto index = static_cast<std::uint16_t>(found - names.begin());
    if (found == names.end()) {
        names.push_back(name);
    }
    return index;
}

/// @param record keeps its place in the plan
void fill(const json& line, ImageRecord& record, std::vector<std::string>& stepNames) {
    const std::string status = textIn(line, "status");
    record.status = status == "done"   ? Status::Done
                    : status == "kept" ? Status::Kept
                                       : Status::Failed;
    record.failure = textIn(line, "reason");
    const double time = numberIn(line, "capture_time_unix");
    record.timeUnix = time > 0.0 ? time : kAbsent;
    record.latitudeDeg = numberIn(line, "latitude_deg");
    record.longitudeDeg = numberIn(line, "longitude_deg");
    record.maskedPixels = numberIn(line, "masked_pixels");
    record.pixels = numberIn(line, "pixels");
    record.exposureSeconds = floatIn(line, "exposure_s");
    record.iso = floatIn(line, "iso");
    record.fNumber = floatIn(line, "f_number");
    record.sunElevationDeg = floatIn(line, "sun_elevation_deg");
    record.sensorTiltDeg = floatIn(line, "sensor_tilt_deg");
    record.irradiance = floatsIn(line, "sun_irradiance");
    record.irradianceCorrected = floatsIn(line, "irradiance_corrected");
    record.steps.clear();
    const auto correctors = line.find("correctors");
    if (correctors != line.end() && correctors->is_array()) {
        for (const json& corrector : *correctors) {
            record.steps.push_back(stepIndex(stepNames, textIn(corrector, "name")));
        }
    }
}

using IndexByPath = std::unordered_map<std::string, std::size_t>;

/// The plan's images, in its order.
IndexByPath takeImages(const fs::path& file, RunFiles& run) {
    std::unordered_map<std::string, std::size_t> cameraById;
    for (const json& camera : run.cameras()) {
        cameraById.emplace(textIn(camera, "id"), cameraById.size());
    }
    IndexByPath byPath;
    for (const json& planned : run.plan["images"]) {
        const std::string id = textIn(planned, "camera");
        const auto camera = cameraById.find(id);
        ImageRecord record;
        record.path = textIn(planned, "path");
        record.output = textIn(planned, "output");
        if (camera == cameraById.end()) {
            fail(file, "is not a plan: " + record.path + " is of a camera it does not know: " + id);
        }
        record.camera = camera->second;
        if (byPath.emplace(record.path, run.images.size()).second) {
            run.images.push_back(std::move(record));
        }
    }
    run.plan.erase("images");
    return byPath;
}

void readRecords(const fs::path& file, const IndexByPath& byPath, RunFiles& run) {
    if (!fs::exists(file)) {
        return;
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        fail(file, "cannot be read");
    }
    std::string text;
    while (std::getline(stream, text)) {
        if (text.find_first_not_of(" \t\r") == std::string::npos) {
            continue;
        }
        // A run that was stopped may leave half a line.
        const json line = json::parse(text, nullptr, false);
        if (!line.is_object() || textIn(line, "file").empty()) {
            ++run.damagedLines;
            continue;
        }
        const auto found = byPath.find(textIn(line, "file"));
        if (found == byPath.end()) {
            ++run.strangers;
            continue;
        }
        fill(line, run.images[found->second], run.stepNames);
    }
    if (stream.bad()) {
        fail(file, "cannot be read to its end");
    }
}

/// What failed already when the plan was made is told once: of the image, where it is planned.
void takeFailures(const IndexByPath& byPath, RunFiles& run) {
    json others = json::array();
    for (json& failure : run.plan["failures"]) {
        const auto found = byPath.find(textIn(failure, "path"));
        if (found == byPath.end()) {
            others.push_back(std::move(failure));
            continue;
        }
        ImageRecord& image = run.images[found->second];
        if (image.status == Status::NotReached) {
            image.status = Status::Failed;
            image.failure = textIn(failure, "reason");
        }
    }
    run.plan["failures"] = std::move(others);
}

/// That of a whole run and those of parts, the one last written to at the end.
std::vector<fs::path> recordFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(folder, failure)) {
        const fs::path& path = entry.path();
        if (path.extension() == ".jsonl" && path.filename().string().rfind("corrections", 0) == 0) {
            files.push_back(path);
        }
    }
    std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
        std::error_code ignored;
        return fs::last_write_time(a, ignored) < fs::last_write_time(b, ignored);
    });
    return files;
}

} // namespace

const json& RunFiles::cameras() const {
    return plan.at("cameras");
}

RunFiles readRunFiles(const fs::path& folder) {
    RunFiles run;
    run.folder = folder;
    const fs::path planFile = folder / "plan.json";
    run.plan = readPlan(planFile);
    const IndexByPath byPath = takeImages(planFile, run);
    for (const fs::path& file : recordFiles(folder)) {
        readRecords(file, byPath, run);
    }
    takeFailures(byPath, run);
    return run;
}

double numberIn(const json& object, const char* key) {
    if (!object.is_object()) {
        return kAbsent;
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<double>() : kAbsent;
}

std::string textIn(const json& object, const char* key) {
    if (!object.is_object()) {
        return {};
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace tessik::app::report
