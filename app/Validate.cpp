#include "app/Subcommands.h"
#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"
#include "radiometry/config/Validation.h"

#include <memory>
#include <optional>
#include <string>

namespace tessik::app {
namespace {

using flight::Json;
using flight::orNull;

/// Why `correct` would refuse an image; empty = it would correct it.
std::string refusalOf(const InputImage& image, const flight::Project& project) {
    try {
        project.check(image);
        return {};
    } catch (const flight::Refusal& refusal) {
        return refusal.what();
    }
}

Json describe(std::uint64_t id, const flight::Flight& flight, const flight::Project& project) {
    const CameraData& camera = flight.cameras.at(id);
    const radiometry::CorrectionType type = project.settings.at(id).correctionType;
    const CorrectionError error = radiometry::getCorrectionError(
        flight.images, project.coordinateSystems.output, project.coordinateSystems.site, id, type);
    Json problems = Json::array();
    for (const auto& [index, missing] : error.imageErrors()) {
        const InputImage& image = flight.images[index];
        const std::string refusal = refusalOf(image, project);
        if (missing != radiometry::ImageCorrectionError::None || !refusal.empty()) {
            problems.push_back({{"file", image.path.toStdString()},
                                {"missing", flight::wordsOf(missing)},
                                {"reason", orNull(refusal)}});
        }
    }
    return {{"camera", {{"id", std::to_string(id)}, {"name", camera.uniqueName.toStdString()}}},
            {"correction_type", flight::wordOf(type)},
            {"images", error.imageErrors().size()},
            {"output_placed", !error.isOutputUnplaced()},
            {"problems", problems}};
}

bool isGood(const Json& camera) {
    return camera["problems"].empty() && camera["output_placed"].get<bool>();
}

void printCamera(const Json& camera) {
    show("%-44s %-18s %5d images  %s\n",
         camera["camera"]["name"].get<std::string>(),
         camera["correction_type"].get<std::string>(),
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
        show("  %s: %s\n", problem["file"].get<std::string>(), text);
    }
}

struct Options {
    flight::FlightOptions flight;
    /// Absent = the richest that a camera's metadata support.
    std::optional<radiometry::CorrectionType> type;
    bool json = false;
};

int validate(const Options& options, Terminal& terminal) {
    bool hasFailed = false;
    const flight::Flight flight = readAndSay(options.flight, terminal, hasFailed);
    flight::ProjectOptions asked;
    asked.type = options.type;
    asked.sunlight.model = flight::SunlightChoice::Model::None;
    const flight::Project project = flight::decideProject(flight, asked, terminal);
    Json cameras = Json::array();
    for (const auto& [id, camera] : flight.cameras) {
        cameras.push_back(describe(id, flight, project));
        hasFailed = hasFailed || !isGood(cameras.back());
        if (!options.json) {
            printCamera(cameras.back());
        }
    }
    if (options.json) {
        showJson(cameras);
    }
    if (cameras.empty()) {
        return NothingDone;
    }
    return hasFailed ? SomeFailed : AllDone;
}

} // namespace

Action addValidate(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    options->flight.looksForClipLimits = false;
    CLI::App& command =
        *cli.add_subcommand("validate", "Tell what images lack for their correction");
    addFlight(command, options->flight)->required();
    addType(command, options->type);
    addSensorMount(command, options->flight);
    addJson(command, options->json);
    return [options](Terminal& terminal) { return validate(*options, terminal); };
}

} // namespace tessik::app
