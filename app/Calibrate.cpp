#include "app/Subcommands.h"
#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"
#include "flight/run/TargetPictures.h"
#include "flight/target/Sensitivities.h"
#include "radiometry/config/MakerSensitivity.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessik::app {
namespace {

using radiometry::MeasuredTarget;
using radiometry::TargetCalibration;

struct Options {
    flight::FlightOptions flight;
    flight::ProjectOptions project;
    flight::StatedTarget stated;
    std::filesystem::path output;   ///< sensitivity file to write; empty = no file
    std::filesystem::path pictures; ///< folder for pictures of the targets; empty = no pictures
};

/// The reflectance that a panel has by the maker's constant, where there is one.
std::optional<double> makersReflectance(const InputImage& image,
                                        std::size_t band,
                                        double mean,
                                        radiometry::CorrectionType type) {
    const std::vector<double> sensitivity = radiometry::makerSensitivity(image.exif, type);
    return band < sensitivity.size() ? std::optional(mean / sensitivity[band]) : std::nullopt;
}

void print(const MeasuredTarget& found, const InputImage& image, radiometry::CorrectionType type) {
    const radiometry::CalibrationTarget& target = found.target;
    const std::string name =
        target.id.isEmpty() ? "" : " " + flight::TargetName{target.type, target.id}.text();
    show("  %s: %s%s%s%s\n",
         found.imagePath.toStdString(),
         found.detector.toStdString(),
         name,
         found.isUsed ? "" : ", not used: ",
         found.isUsed ? "" : found.remark.toStdString());
    for (std::size_t b = 0; b < found.mean.size(); ++b) {
        if (!(found.mean[b] > 0.0)) {
            continue; // no pixel is valid: the remark says so
        }
        const auto makers = makersReflectance(image, b, found.mean[b], type);
        show("    %-10s reflectance %6.4f  mean %10.5g  spread %5.2f %%  invalid %5.2f %%  "
             "sensitivity %10.6g%s\n",
             flight::bandName(image, b),
             target.reflectanceFactors[b],
             found.mean[b],
             100.0 * found.standardDeviation[b] / found.mean[b],
             100.0 * found.invalidShare[b],
             target.sensitivity[b],
             makers ? ("  (by the maker's constant: reflectance " +
                       QString::number(*makers, 'f', 4).toStdString() + ")")

                    : "");
    }
}

void print(const TargetCalibration& result,
           const flight::Flight& flight,
           const flight::Project& project) {
    for (const auto& [id, camera] : result.cameras) {
        const radiometry::CorrectionType type = project.settings.at(id).correctionType;
        show("%s, %s\n", flight.cameras.at(id).uniqueName.toStdString(), flight::wordOf(type));
        for (const MeasuredTarget& target : result.targets) {
            if (target.cameraId == id) {
                print(target, flight.images[target.imageIndex], type);
            }
        }
        if (camera.sensitivity.empty()) {
            show("  no sensitivity\n");
            continue;
        }
        show("  sensitivity");
        for (const double value : camera.sensitivity) {
            show(" %.17g", value);
        }
        show(", %s", camera.source.toStdString());
        show(camera.disagreement > 0.0 ? ", they differ by %.1f %%\n" : "\n",
             100.0 * camera.disagreement);
    }
}

/// A line for each image that gave no target. @return how many there are
std::size_t
sayFailures(const TargetCalibration& result, const flight::Flight& flight, Terminal& terminal) {
    std::size_t count = 0;
    for (const radiometry::TargetCandidate& candidate : result.candidates) {
        const std::string path = flight.images[candidate.imageIndex].path.toStdString();
        for (const std::string& remark : candidate.remarks) {
            terminal.warning({path, remark});
        }
        std::string reason = candidate.failure.toStdString();
        if (reason.empty() && candidate.targetCount == 0) {
            reason = "no target was found; --region says where it is";
        }
        bool isUsed = false;
        for (const MeasuredTarget& target : result.targets) {
            if (target.imageIndex == candidate.imageIndex) {
                isUsed = isUsed || target.isUsed;
                reason = target.isUsed ? reason : "target not used: " + target.remark.toStdString();
            }
        }
        if (!isUsed) {
            terminal.failure({path, reason});
            ++count;
        }
    }
    return count;
}

int calibrate(const Options& options, Terminal& terminal) {
    bool hasFailed = false;
    flight::Flight flight = readAndSay(options.flight, terminal, hasFailed);
    const flight::Project project = flight::decideProject(flight, options.project, terminal);
    flight::useLight(project.lights, flight);
    const flight::RigCalibration result =
        flight::calibrate(flight, project, options.stated, options.flight.jobs, terminal);
    print(result, flight, project);
    hasFailed = sayFailures(result, flight, terminal) > 0 || hasFailed;
    flight::SensitivityFile file = flight::sensitivityFile(result, flight, project);
    if (!options.pictures.empty()) {
        for (flight::CameraSensitivity& camera : file.cameras) {
            flight::drawTargets(options.pictures, {}, camera.targets, terminal);
        }
    }
    if (file.cameras.empty()) {
        return NothingDone;
    }
    if (!options.output.empty()) {
        flight::writeSensitivityFile(options.output.string(), file);
    }
    return hasFailed ? SomeFailed : AllDone;
}

} // namespace

Action addCalibrate(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand(
        "calibrate", "Measure the sensitivity of each camera and band on a reflectance target");
    addFlight(command, options->flight)->required();
    auto* reflectance = command.add_option_function<std::vector<std::string>>(
        "--reflectance",
        [options](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
                const auto value = flight::parseBandReflectance(text);
                if (!value) {
                    throw CLI::ValidationError(
                        "--reflectance", "not NAME=VALUE with a value above 0, up to 1: " + text);
                }
                options->stated.reflectance.push_back(*value);
            }
        },
        "NAME=VALUE,..: reflectance of the target; NAME is a band's name or its wavelength in nm");
    reflectance->delimiter(',')->allow_extra_args(false);
    command
        .add_option_function<std::string>(
            "--target",
            [options](const std::string& text) {
                options->stated.name = flight::TargetName::fromText(text);
                if (!options->stated.name) {
                    throw CLI::ValidationError("--target", "not TYPE/ID: " + text);
                }
            },
            "TYPE/ID of the target whose stored reflectance holds (see targets)")
        ->excludes(reflectance);
    command.add_option_function<std::string>(
        "--region",
        [options](const std::string& text) {
            options->stated.region = flight::parseRegion(text);
            if (options->stated.region.empty()) {
                throw CLI::ValidationError("--region", "not \"x,y x,y x,y ..\": " + text);
            }
        },
        "\"x,y x,y x,y ..\": corners of the target in each image, px; the default is to find it");
    command.add_option("-o,--output", options->output, "File to write, for correct --sensitivity");
    command.add_option("--pictures",
                       options->pictures,
                       "Folder for a picture (PNG) of each target: the image, what was measured");
    addProject(command, options->flight, options->project);
    return [options](Terminal& terminal) { return calibrate(*options, terminal); };
}

} // namespace tessik::app
