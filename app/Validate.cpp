#include "Validate.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "Flight.h"
#include "ImageCorrector.h"
#include "JsonReader.h"
#include "Poses.h"
#include "radiometry/config/Validation.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;

/// Why `correct` would leave an image alone; empty = it would not.
std::string refusalOf(const InputImage& image, const ImageCorrector& corrector) {
    try {
        corrector.check(image);
        return {};
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
}

Json describe(std::uint64_t id, const Flight& flight, const Project& project) {
    const CameraData& camera = flight.cameras.at(id);
    const radiometry::CorrectionType type = project.settings.at(id).correctionType;
    const CorrectionError error = radiometry::getCorrectionError(
        flight.images, project.coordinateSystems.output, project.coordinateSystems.site, id, type);
    const ImageCorrector corrector(project);
    Json problems = Json::array();
    for (const auto& [index, missing] : error.imageErrors()) {
        const InputImage& image = flight.images[index];
        const std::string refusal = refusalOf(image, corrector);
        if (missing != radiometry::ImageCorrectionError::None || !refusal.empty()) {
            problems.push_back({{"file", image.path.toStdString()},
                                {"missing", wordsOf(missing)},
                                {"reason", refusal.empty() ? Json() : Json(refusal)}});
        }
    }
    return {{"camera", {{"id", std::to_string(id)}, {"name", camera.uniqueName.toStdString()}}},
            {"correction_type", wordOf(type)},
            {"images", error.imageErrors().size()},
            {"output_placed", !error.isOutputUnplaced()},
            {"problems", problems}};
}

bool isGood(const Json& camera) {
    return camera["problems"].empty() && camera["output_placed"].get<bool>();
}

void printCamera(const Json& camera) {
    show("%-44s %-18s %5d images  %s\n",
         camera["camera"]["name"].get<std::string>().c_str(),
         camera["correction_type"].get<std::string>().c_str(),
         camera["images"].get<int>(),
         isGood(camera) ? "nothing is missing" : "incomplete");
    if (!camera["output_placed"].get<bool>()) {
        show("  no image has a position\n");
    }
    for (const Json& problem : camera["problems"]) {
        std::string text;
        for (const Json& word : problem["missing"]) {
            text += (text.empty() ? "no " : ", no ") + word.get<std::string>();
        }
        if (!problem["reason"].is_null()) {
            text += (text.empty() ? "" : "; ") + problem["reason"].get<std::string>();
        }
        show("  %s: %s\n", problem["file"].get<std::string>().c_str(), text.c_str());
    }
}

} // namespace

int validate(const ValidateOptions& options) {
    Flight flight = readFlight(expandInputs(options.inputs), options.metadata, options.jobs);
    bool hasFailed = sayFailures(flight) > 0;
    for (InputImage& image : flight.images) {
        mountSensor(options.sensorMount, image);
    }
    Project project;
    project.isTypeChosen = options.type.has_value();
    project.coordinateSystems = coordinateSystemsOf(flight);
    if (options.type) {
        for (const auto& [id, camera] : flight.cameras) {
            project.settings[id] = {*options.type};
        }
    }
    radiometry::verifyValidRadiometricSettings(flight.cameras, flight.images, project.settings);
    Json cameras = Json::array();
    for (const auto& [id, camera] : flight.cameras) {
        cameras.push_back(describe(id, flight, project));
        hasFailed = hasFailed || !isGood(cameras.back());
        if (!options.json) {
            printCamera(cameras.back());
        }
    }
    if (options.json) {
        std::puts(jsonText(cameras, 2).c_str());
    }
    if (cameras.empty()) {
        return NothingDone;
    }
    return hasFailed ? SomeFailed : AllDone;
}

} // namespace tessik::app
