#include "app/Options.h"

#include "flight/json/CorrectionWords.h"
#include "platform/exif/ExifReader.h"

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tessik::app {
namespace {

std::shared_ptr<const exif::CalibrationDonors> donorsIn(const std::vector<std::string>& paths) {
    std::vector<std::string> files;
    for (const flight::Input& input : flight::expandInputs(paths).images) {
        files.push_back(input.path);
    }
    try {
        return std::make_shared<const exif::CalibrationDonors>(exif::readDonors(files));
    } catch (const exif::Error& failure) {
        throw CLI::ValidationError("--calibration-from", failure.what());
    }
}

} // namespace

CLI::Option* addFlight(CLI::App& command, flight::FlightOptions& options) {
    options.jobs = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    CLI::Option* input =
        command.add_option("INPUT",
                           options.inputs,
                           "An image, a folder (walked recursively), or @list.txt with a path a "
                           "line");
    command.add_option("-j,--jobs", options.jobs, "Images to work on at a time")
        ->check(CLI::Range(1, 1024))
        ->default_str("processors"); // not their number here: manual pages are made from this
    command.add_option("--utc-offset",
                       options.metadata.utcOffsetHours,
                       "Local time minus UTC in hours, of cameras that write local time");
    command
        .add_option_function<std::vector<std::string>>(
            "--calibration-from",
            [&options](const std::vector<std::string>& paths) {
                options.metadata.donors = donorsIn(paths);
            },
            "IMAGE of the same body and band (or a folder of them) whose calibration tags replace "
            "those that older firmware did not write")
        ->allow_extra_args(false);
    return input;
}

void addSensorMount(CLI::App& command, flight::FlightOptions& options) {
    command
        .add_option_function<std::vector<float>>(
            "--sensor-mount",
            [&options](const std::vector<float>& angles) {
                options.sensorMount = Eigen::Vector3f(angles.at(0), angles.at(1), angles.at(2));
                if (!options.sensorMount->allFinite()) {
                    throw CLI::ValidationError("--sensor-mount", "an angle that is not finite");
                }
            },
            "OMEGA,PHI,KAPPA: the irradiance sensor's orientation relative to the camera, degrees, "
            "where the metadata do not state it; 0,0,0 is level when the camera looks down")
        ->delimiter(',')
        ->expected(3);
}

void addType(CLI::App& command, std::optional<radiometry::CorrectionType>& type) {
    command
        .add_option_function<std::string>(
            "--type",
            [&type](const std::string& word) { type = flight::typeOf(word); },
            "How far to correct; auto (the default) = the way of levelling the light that the "
            "readings "
            "speak for, as far as the metadata allow")
        ->check(CLI::IsMember(
            {"auto", "none", "camera", "irradiance", "sun-angle", "sun-angle-absolute"}));
}

void addProject(CLI::App& command, flight::FlightOptions& flight, flight::ProjectOptions& project) {
    addType(command, project.type);
    command.add_option_function<std::string>(
        "--sunlight",
        [&project](const std::string& text) {
            const auto choice = flight::SunlightChoice::fromText(text);
            if (!choice) {
                throw CLI::ValidationError("--sunlight",
                                           "neither auto, fit, physical nor 0..1: " + text);
            }
            project.sunlight = *choice;
        },
        "Fraction of direct sunlight: auto (the default), fit, physical or a number 0..1");
    command
        .add_option_function<std::string>(
            "--light",
            [&project](const std::string& word) {
                project.light =
                    word == "raw" ? flight::LightChoice::Raw : flight::LightChoice::Steady;
            },
            "steady (the default) = take the sensor's jitter off the readings; raw = use them as "
            "they are")
        ->check(CLI::IsMember({"steady", "raw"}));
    addSensorMount(command, flight);
    command
        .add_option("--sequoia-calibration",
                    project.sequoiaCalibration,
                    "Folder of Parrot Sequoia model files, named by serial number")
        ->check(CLI::ExistingDirectory);
}

CLI::Option* addPlanning(CLI::App& command, flight::PlanOptions& options) {
    CLI::Option* input = addFlight(command, options.flight);
    addProject(command, options.flight, options.project);
    command.add_option("--targets,--sensitivity",
                       options.targets,
                       "auto (the default) = look for reflectance targets, else take the maker's "
                       "constant; none; or a file that calibrate wrote");
    return input;
}

void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "One JSON document on standard output");
}

flight::Flight
readAndSay(const flight::FlightOptions& options, Terminal& terminal, bool& hasFailed) {
    flight::Flight flight = flight::readFlight(options, terminal);
    hasFailed = terminal.failures(flight.failures()) > 0;
    return flight;
}

} // namespace tessik::app
