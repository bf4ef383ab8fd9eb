#include "Console.h"
#include "Correct.h"
#include "CorrectionWords.h"
#include "Inspect.h"
#include "SequoiaModel.h"

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
        ->capture_default_str();
}

void addUtcOffset(CLI::App& command, tessik::exif::ReadOptions& options) {
    command.add_option("--utc-offset",
                       options.utcOffsetHours,
                       "Local time minus UTC in hours, of cameras that write local time");
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
        ->check(CLI::IsMember({"auto", "none", "camera"}));
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
