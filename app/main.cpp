#include "Console.h"
#include "Correct.h"
#include "CorrectionWords.h"
#include "Inspect.h"
#include "SequoiaModel.h"
#include "Sunlight.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <thread>

namespace {

namespace app = tessik::app;

const char* const kInputHelp =
    "An image, a folder (walked recursively), or @list.txt with a path a "
    "line";

int defaultJobs() {
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

void addInputs(CLI::App& command, std::vector<std::string>& inputs) {
    command.add_option("INPUT", inputs, kInputHelp)->required();
}

void addJobs(CLI::App& command, int& jobs) {
    command.add_option("-j,--jobs", jobs, "Images worked on at a time")
        ->check(CLI::Range(1, 1024))
        ->default_str("processors"); // not their number here: manual pages are made from this
}

void addUtcOffset(CLI::App& command, tessik::exif::ReadOptions& options) {
    command.add_option("--utc-offset",
                       options.utcOffsetHours,
                       "Local time minus UTC in hours, of cameras that write local time");
}

void addSensorMount(CLI::App& command, std::optional<Eigen::Vector3f>& mount) {
    command
        .add_option_function<std::vector<float>>(
            "--sensor-mount",
            [&mount](const std::vector<float>& angles) {
                mount = Eigen::Vector3f(angles.at(0), angles.at(1), angles.at(2));
            },
            "OMEGA,PHI,KAPPA: the irradiance sensor's orientation relative to the camera, degrees, "
            "where the metadata do not state it")
        ->delimiter(',')
        ->expected(3);
}

/// A subcommand: declares its options on the application, and runs.
using Action = std::function<int()>;

Action addInspect(CLI::App& cli) {
    auto options = std::make_shared<app::InspectOptions>();
    options->jobs = defaultJobs();
    CLI::App& command = *cli.add_subcommand(
        "inspect", "Show what is understood of each image, and what would be done");
    addInputs(command, options->inputs);
    command.add_flag("--json", options->json, "One JSON document on standard output");
    addJobs(command, options->jobs);
    addUtcOffset(command, options->metadata);
    return [options] { return app::inspect(*options); };
}

Action addCorrect(CLI::App& cli) {
    auto options = std::make_shared<app::CorrectOptions>();
    options->jobs = defaultJobs();
    CLI::App& command = *cli.add_subcommand("correct", "Correct images into a folder");
    addInputs(command, options->inputs);
    command.add_option("-o,--output", options->outputFolder, "Folder to write to, made if need be")
        ->required();
    command
        .add_option_function<std::string>(
            "--type",
            [options](const std::string& word) { options->project.type = app::typeOf(word); },
            "How far to correct; auto (the default) = as far as the metadata allow")
        ->check(CLI::IsMember(
            {"auto", "none", "camera", "irradiance", "sun-angle", "sun-angle-absolute"}));
    command.add_option_function<std::string>(
        "--sunlight",
        [options](const std::string& text) {
            const auto choice = app::SunlightChoice::fromText(text);
            if (!choice) {
                throw CLI::ValidationError("--sunlight",
                                           "neither auto, fit, physical nor 0..1: " + text);
            }
            options->project.sunlight = *choice;
        },
        "Fraction of direct sunlight: auto (the default), fit, physical or a number 0..1");
    addSensorMount(command, options->project.sensorMount);
    command
        .add_option("--sequoia-calibration",
                    options->project.sequoiaCalibration,
                    "Folder of Parrot Sequoia model files, named by serial number")
        ->check(CLI::ExistingDirectory);
    addJobs(command, options->jobs);
    command.add_flag("--overwrite", options->overwrite, "Make outputs anew that are there");
    command
        .add_option("--co",
                    options->creationOptions,
                    "GeoTIFF creation option NAME=VALUE (COMPRESS, PREDICTOR, TILED, BIGTIFF)")
        ->allow_extra_args(false);
    addUtcOffset(command, options->metadata);
    return [options] { return app::correct(*options); };
}

Action addSun(CLI::App& cli) {
    auto options = std::make_shared<app::SunOptions>();
    CLI::App& command = *cli.add_subcommand("sun", "Where the sun stands");
    command
        .add_option(
            "--time", options->time, "ISO 8601 (UTC), or seconds since 1970-01-01 00:00 UTC")
        ->required();
    command.add_option("--lat", options->latitude, "Latitude, degrees north")
        ->required()
        ->check(CLI::Range(-90.0, 90.0));
    command.add_option("--lon", options->longitude, "Longitude, degrees east")
        ->required()
        ->check(CLI::Range(-360.0, 360.0));
    command.add_flag("--json", options->json, "One JSON document on standard output");
    return [options] { return app::sun(*options); };
}

Action addSunlight(CLI::App& cli) {
    auto options = std::make_shared<app::SunlightOptions>();
    options->jobs = defaultJobs();
    CLI::App& command = *cli.add_subcommand(
        "sunlight", "The fraction of direct sunlight of each band over a flight");
    addInputs(command, options->inputs);
    command
        .add_option_function<std::string>(
            "--model",
            [options](const std::string& word) { options->isPhysical = word == "physical"; },
            "fit (the default): from the readings; physical: of a clear sky")
        ->check(CLI::IsMember({"fit", "physical"}));
    command.add_option("--degree", options->degree, "Degree of the drift of the light in time")
        ->check(CLI::Range(0, 10))
        ->capture_default_str();
    command.add_flag("--sensor-angles",
                     options->useSensorAngles,
                     "Fit the sensor's orientation relative to the camera as well");
    command
        .add_option_function<std::string>(
            "--type",
            [options](const std::string& word) { options->type = app::typeOf(word); },
            "Orientation to use; the default is what the metadata allow")
        ->check(CLI::IsMember({"sun-angle", "sun-angle-absolute"}));
    addSensorMount(command, options->sensorMount);
    command.add_flag("--json", options->json, "One JSON document on standard output");
    addJobs(command, options->jobs);
    addUtcOffset(command, options->metadata);
    return [options] { return app::sunlight(*options); };
}

Action addSequoiaModel(CLI::App& cli) {
    struct Options {
        std::string file;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("sequoia-model", "Parrot Sequoia model files");
    command.require_subcommand(1);
    CLI::App& show = *command.add_subcommand("show", "Show what a model file holds");
    show.add_option("FILE", options->file, "A model file")->required();
    show.add_flag("--json", options->json, "One JSON document on standard output");
    CLI::App& check = *command.add_subcommand("check", "Tell whether a model file can be used");
    check.add_option("FILE", options->file, "A model file")->required();
    return [options, &show] {
        return show.parsed() ? app::showSequoiaModel(options->file, options->json)
                             : app::checkSequoiaModel(options->file);
    };
}

int run(int argc, char** argv) {
    CLI::App cli("Radiometric correction of aerial images", "radiometry");
    cli.set_version_flag("--version", RADIOMETRY_VERSION);
    cli.require_subcommand(1);
    cli.fallthrough();
    bool isVerbose = false;
    bool isQuiet = false;
    cli.add_flag("-v,--verbose", isVerbose, "Show the informational log as well");
    cli.add_flag("-q,--quiet", isQuiet, "Show errors alone");
    const std::map<std::string, Action> actions = {{"inspect", addInspect(cli)},
                                                   {"correct", addCorrect(cli)},
                                                   {"sun", addSun(cli)},
                                                   {"sunlight", addSunlight(cli)},
                                                   {"sequoia-model", addSequoiaModel(cli)}};
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        const int status = cli.exit(failure);
        return status == 0 ? app::AllDone : app::NothingDone;
    }
    app::setVerbosity(isQuiet     ? app::Verbosity::Quiet
                      : isVerbose ? app::Verbosity::Verbose
                                  : app::Verbosity::Normal);
    return actions.at(cli.get_subcommands().front()->get_name())();
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& failure) {
        app::sayFailure({}, failure.what());
        return app::NothingDone;
    }
}
