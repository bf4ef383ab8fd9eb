#include "Console.h"
#include "Correct.h"
#include "CorrectionWords.h"
#include "Inspect.h"

#include <CLI/CLI.hpp>

#include <exception>
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

int run(int argc, char** argv) {
    CLI::App cli("Radiometric correction of aerial images", "radiometry");
    cli.set_version_flag("--version", RADIOMETRY_VERSION);
    cli.require_subcommand(1);
    cli.fallthrough();
    bool isVerbose = false;
    bool isQuiet = false;
    cli.add_flag("-v,--verbose", isVerbose, "Show the informational log as well");
    cli.add_flag("-q,--quiet", isQuiet, "Show errors alone");

    app::InspectOptions inspectOptions;
    inspectOptions.jobs = defaultJobs();
    CLI::App& inspect = *cli.add_subcommand(
        "inspect", "Show what is understood of each image, and what would be done");
    addInputs(inspect, inspectOptions.inputs);
    inspect.add_flag("--json", inspectOptions.json, "One JSON document on standard output");
    addJobs(inspect, inspectOptions.jobs);

    app::CorrectOptions correctOptions;
    correctOptions.jobs = defaultJobs();
    std::string type = "auto";
    std::string outputFolder;
    CLI::App& correct = *cli.add_subcommand("correct", "Correct images into a folder");
    addInputs(correct, correctOptions.inputs);
    correct.add_option("-o,--output", outputFolder, "Folder to write to, made if need be")
        ->required();
    correct.add_option("--type", type, "How far to correct; auto = as far as the metadata allow")
        ->check(CLI::IsMember({"auto", "none", "camera"}))
        ->capture_default_str();
    addJobs(correct, correctOptions.jobs);
    correct.add_flag("--overwrite", correctOptions.overwrite, "Make outputs anew that are there");
    correct
        .add_option("--co",
                    correctOptions.creationOptions,
                    "GeoTIFF creation option NAME=VALUE (COMPRESS, PREDICTOR, TILED, BIGTIFF)")
        ->allow_extra_args(false);

    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        const int status = cli.exit(failure);
        return status == 0 ? app::AllDone : app::NothingDone;
    }
    app::setVerbosity(isQuiet     ? app::Verbosity::Quiet
                      : isVerbose ? app::Verbosity::Verbose
                                  : app::Verbosity::Normal);
    if (inspect.parsed()) {
        return app::inspect(inspectOptions);
    }
    correctOptions.type = app::typeOf(type);
    correctOptions.outputFolder = outputFolder;
    return app::correct(correctOptions);
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
