#include "Calibrate.h"
#include "Console.h"
#include "Correct.h"
#include "CorrectionWords.h"
#include "Inspect.h"
#include "SequoiaModel.h"
#include "Sunlight.h"
#include "Targets.h"
#include "Validate.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>
#include <malloc.h>

#include <csignal>
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

void addCalibrationFrom(CLI::App& command, tessik::exif::ReadOptions& options) {
    command
        .add_option_function<std::vector<std::string>>(
            "--calibration-from",
            [&options](const std::vector<std::string>& paths) {
                const app::InputList list = app::expandInputs(paths);
                std::vector<std::string> files;
                for (const app::Input& input : list.images) {
                    files.push_back(input.path);
                }
                try {
                    options.donors = std::make_shared<const tessik::exif::CalibrationDonors>(
                        tessik::exif::readDonors(files));
                } catch (const tessik::exif::Error& failure) {
                    throw CLI::ValidationError("--calibration-from", failure.what());
                }
            },
            "IMAGE of the same body and band (or a folder of them), whose calibration tags stand "
            "in "
            "for those that older firmware did not write")
        ->allow_extra_args(false);
}

void addSensorMount(CLI::App& command, std::optional<Eigen::Vector3f>& mount) {
    command
        .add_option_function<std::vector<float>>(
            "--sensor-mount",
            [&mount](const std::vector<float>& angles) {
                mount = Eigen::Vector3f(angles.at(0), angles.at(1), angles.at(2));
                if (!mount->allFinite()) {
                    throw CLI::ValidationError("--sensor-mount", "an angle that is not finite");
                }
            },
            "OMEGA,PHI,KAPPA: the irradiance sensor's orientation relative to the camera, degrees, "
            "where the metadata do not state it; 0,0,0 is level when the camera looks down")
        ->delimiter(',')
        ->expected(3);
}

void addType(CLI::App& command, std::optional<tessik::radiometry::CorrectionType>& type) {
    command
        .add_option_function<std::string>(
            "--type",
            [&type](const std::string& word) { type = app::typeOf(word); },
            "How far to correct; auto (the default) = as far as the metadata allow")
        ->check(CLI::IsMember(
            {"auto", "none", "camera", "irradiance", "sun-angle", "sun-angle-absolute"}));
}

/// What the decisions for a whole flight depend on.
void addProject(CLI::App& command, app::ProjectOptions& project) {
    addType(command, project.type);
    command.add_option_function<std::string>(
        "--sunlight",
        [&project](const std::string& text) {
            const auto choice = app::SunlightChoice::fromText(text);
            if (!choice) {
                throw CLI::ValidationError("--sunlight",
                                           "neither auto, fit, physical nor 0..1: " + text);
            }
            project.sunlight = *choice;
        },
        "Fraction of direct sunlight: auto (the default), fit, physical or a number 0..1");
    addSensorMount(command, project.sensorMount);
    command
        .add_option("--sequoia-calibration",
                    project.sequoiaCalibration,
                    "Folder of Parrot Sequoia model files, named by serial number")
        ->check(CLI::ExistingDirectory);
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
    addCalibrationFrom(command, options->metadata);
    return [options] { return app::inspect(*options); };
}

/// What decides how a flight is corrected.
void addPlanning(CLI::App& command, app::PlanOptions& options) {
    command.add_option("INPUT", options.inputs, kInputHelp);
    addProject(command, options.project);
    command.add_option("--targets,--sensitivity",
                       options.targets,
                       "auto (the default) = look for reflectance targets, else take the maker's "
                       "constant; none; or a file that calibrate wrote");
    addJobs(command, options.jobs);
    addUtcOffset(command, options.metadata);
    addCalibrationFrom(command, options.metadata);
}

Action addPlan(CLI::App& cli) {
    struct Options {
        app::PlanOptions plan;
        std::filesystem::path file = "plan.json";
    };
    auto options = std::make_shared<Options>();
    options->plan.jobs = defaultJobs();
    CLI::App& command =
        *cli.add_subcommand("plan", "Decide how a flight is corrected, and write it down");
    addPlanning(command, options->plan);
    command.get_option("INPUT")->required();
    command.add_option("-o,--output", options->file, "File to write")->capture_default_str();
    return [options] { return app::plan(options->plan, options->file); };
}

Action addCorrect(CLI::App& cli) {
    auto options = std::make_shared<app::CorrectOptions>();
    options->plan.jobs = defaultJobs();
    CLI::App& command = *cli.add_subcommand("correct", "Correct images into a folder");
    addPlanning(command, options->plan);
    command.add_option("-o,--output", options->outputFolder, "Folder to write to, made if need be")
        ->required();
    CLI::Option* plan =
        command.add_option("--plan", options->planFile, "Follow a plan that was made before")
            ->check(CLI::ExistingFile);
    for (const char* decided : {"INPUT",
                                "--type",
                                "--sunlight",
                                "--sensor-mount",
                                "--sequoia-calibration",
                                "--targets",
                                "--utc-offset",
                                "--calibration-from"}) {
        plan->excludes(command.get_option(decided));
    }
    command
        .add_option_function<std::string>(
            "--part",
            [options](const std::string& text) {
                const auto part = app::Part::fromText(text);
                if (!part) {
                    throw CLI::ValidationError("--part", "not K/N with K from 1 to N: " + text);
                }
                options->part = *part;
            },
            "K/N: correct the K-th of N disjoint parts of a plan")
        ->needs(plan);
    command.add_flag("--overwrite", options->overwrite, "Make outputs anew that are there");
    command
        .add_option("--co",
                    options->creationOptions,
                    "GeoTIFF creation option NAME=VALUE (COMPRESS, PREDICTOR, TILED, BIGTIFF)")
        ->allow_extra_args(false)
        ->check([](const std::string& option) {
            return CLI::detail::to_lower(option) == "bigtiff=yes"
                       ? std::string("BIGTIFF=YES: metadata go into classic TIFF files alone")
                       : std::string();
        });
    command.add_option(
        "--report", options->report, "Page (.html) to write: light, pictures, targets, problems");
    return [options] {
        if (options->planFile.empty() && options->plan.inputs.empty()) {
            throw std::runtime_error("correct: no INPUT and no --plan");
        }
        options->plan.excluded = options->outputFolder;
        options->plan.pictures = options->outputFolder / "targets";
        return app::correct(*options);
    };
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
    addCalibrationFrom(command, options->metadata);
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

Action addCalibrate(CLI::App& cli) {
    auto options = std::make_shared<app::CalibrateOptions>();
    options->jobs = defaultJobs();
    CLI::App& command = *cli.add_subcommand(
        "calibrate", "Measure the sensitivity of each camera and band on a reflectance target");
    addInputs(command, options->inputs);
    auto* reflectance = command.add_option_function<std::vector<std::string>>(
        "--reflectance",
        [options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
                const auto value = app::parseBandReflectance(text);
                if (!value) {
                    throw CLI::ValidationError(
                        "--reflectance", "not NAME=VALUE with a value above 0, up to 1: " + text);
                }
                options->reflectance.push_back(*value);
            }
        },
        "NAME=VALUE,..: reflectance of the target; NAME is a band's name or its wavelength in nm");
    reflectance->delimiter(',')->allow_extra_args(false);
    command
        .add_option_function<std::string>(
            "--target",
            [options](const std::string& text) {
                options->target = app::TargetName::fromText(text);
                if (!options->target) {
                    throw CLI::ValidationError("--target", "not TYPE/ID: " + text);
                }
            },
            "TYPE/ID of the target whose stored reflectance holds (see targets)")
        ->excludes(reflectance);
    command.add_option_function<std::string>(
        "--region",
        [options](const std::string& text) {
            options->region = app::parseRegion(text);
            if (options->region.empty()) {
                throw CLI::ValidationError("--region", "not \"x,y x,y x,y ..\": " + text);
            }
        },
        "\"x,y x,y x,y ..\": corners of the target in each image, px; the default is to find it");
    command.add_option("-o,--output", options->output, "File to write, for correct --sensitivity");
    command.add_option("--pictures",
                       options->pictures,
                       "Folder for a picture (PNG) of each target: the image, what was measured");
    addProject(command, options->project);
    addJobs(command, options->jobs);
    addUtcOffset(command, options->metadata);
    addCalibrationFrom(command, options->metadata);
    return [options] { return app::calibrate(*options); };
}

Action addTargets(CLI::App& cli) {
    struct Options {
        std::string name;
        std::vector<std::string> values;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("targets", "Known reflectances of targets");
    command.require_subcommand(1);
    CLI::App& list = *command.add_subcommand("list", "Show all that are stored");
    CLI::App& show = *command.add_subcommand("show", "Show those of one target");
    CLI::App& set = *command.add_subcommand("set", "Store reflectances of a target");
    CLI::App& remove = *command.add_subcommand("remove", "Forget a target");
    for (CLI::App* one : {&show, &set, &remove}) {
        one->add_option("TYPE/ID",
                        options->name,
                        "tags_12, tags_6, AirCalib or unknown (panels with a QR code), and serial")
            ->required();
    }
    for (CLI::App* one : {&list, &show}) {
        one->add_flag("--json", options->json, "One JSON document on standard output");
    }
    set.add_option("WAVELENGTH_FWHM=VALUE",
                   options->values,
                   "Band in nm and reflectance, above 0 and up to 1: 475_20=0.56")
        ->required();
    return [options, &list, &show, &set] {
        return list.parsed()   ? app::listTargets(options->json)
               : show.parsed() ? app::showTarget(options->name, options->json)
               : set.parsed()  ? app::setTarget(options->name, options->values)
                               : app::removeTarget(options->name);
    };
}

Action addValidate(CLI::App& cli) {
    auto options = std::make_shared<app::ValidateOptions>();
    options->jobs = defaultJobs();
    CLI::App& command =
        *cli.add_subcommand("validate", "Tell what images lack for their correction");
    addInputs(command, options->inputs);
    addType(command, options->type);
    addSensorMount(command, options->sensorMount);
    command.add_flag("--json", options->json, "One JSON document on standard output");
    addJobs(command, options->jobs);
    addUtcOffset(command, options->metadata);
    addCalibrationFrom(command, options->metadata);
    return [options] { return app::validate(*options); };
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
                                                   {"plan", addPlan(cli)},
                                                   {"correct", addCorrect(cli)},
                                                   {"sun", addSun(cli)},
                                                   {"sunlight", addSunlight(cli)},
                                                   {"calibrate", addCalibrate(cli)},
                                                   {"targets", addTargets(cli)},
                                                   {"validate", addValidate(cli)},
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
    // Whole bands and maps get memory of their own, which goes back at once when one is no longer
    // needed; what is smaller comes and goes with each image, and its memory is kept.
    constexpr int kWholeBand = 4 << 20; // bytes
    constexpr int kKept = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, kWholeBand); // NOLINT(concurrency-mt-unsafe): no thread runs yet
    mallopt(M_TRIM_THRESHOLD, kKept);      // NOLINT(concurrency-mt-unsafe)
    // Images are read and written once, block by block: GDAL's cache, a twentieth of the memory
    // otherwise, would only fill. Where the user says how large, that holds.
    setenv("GDAL_CACHEMAX", "32", 0); // NOLINT(concurrency-mt-unsafe): MB; no thread runs yet
    // A file that may not grow is a failed write with a reason, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN); // NOLINT(concurrency-mt-unsafe)
    // Whose settings the store of reflectances lives in.
    QCoreApplication::setOrganizationName(QStringLiteral("tessik"));
    QCoreApplication::setApplicationName(QStringLiteral("radiometry"));
    try {
        return run(argc, argv);
    } catch (const std::exception& failure) {
        app::sayFailure({}, failure.what());
        return app::NothingDone;
    }
}
