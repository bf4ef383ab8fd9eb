#include "Plan.h"

#include "CorrectionWords.h"
#include "FlightTargets.h"
#include "ImageCorrector.h"
#include "Output.h"
#include "platform/exif/ExifReader.h"
#include "radiometry/config/CorrectionSelection.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

/// What the first image of a camera says of all.
void describeImages(const ExifInfo& exif, PlannedCamera& camera) {
    for (const QString& name : exif.bandNames) {
        camera.bandNames.push_back(name.toStdString());
    }
    eraseUseless(exif, camera.bandNames);
    eraseUseless(exif, camera.bands);
    camera.clipsAt = exif.clipLine;
    if (exif.storedRange && !camera.clipsAt) {
        camera.clipsAt = ClipLine{exif.storedRange->second, 0.0};
    }
    camera.unit = exif.isThermal ? kCelsius : "";
}

std::vector<PlannedCamera> describeCameras(const Flight& flight, const Project& project) {
    std::vector<PlannedCamera> cameras;
    std::unordered_map<std::uint64_t, std::size_t> indices;
    for (const auto& [id, data] : flight.cameras) {
        indices[id] = cameras.size();
        PlannedCamera& camera = cameras.emplace_back();
        camera.id = id;
        camera.name = data.uniqueName.toStdString();
        camera.make = data.make.toStdString();
        camera.model = data.model.toStdString();
        camera.width = data.params.width;
        camera.height = data.params.height;
        camera.bands = data.bands;
    }
    for (const InputImage& image : flight.images) {
        if (!image.enabled) {
            continue;
        }
        PlannedCamera& camera = cameras[indices.at(image.cameraId)];
        if (camera.imageCount++ == 0) {
            describeImages(image.exif, camera);
        }
        if (image.exif.isThermal) {
            continue;
        }
        for (const radiometry::CorrectionType type : correctionTypes()) {
            if (type <= project.typeOf(image)) {
                continue;
            }
            std::vector<std::string>& known = camera.missing[wordOf(type)];
            for (std::string& word :
                 wordsOf(radiometry::isInformationMissingForCorrection(image, type))) {
                if (std::find(known.begin(), known.end(), word) == known.end()) {
                    known.push_back(std::move(word));
                }
            }
        }
    }
    return cameras;
}

/// Takes the inputs over, in their order. Two images of one output are a failure of the second.
void listImages(Flight& flight, Plan& plan) {
    for (auto& [path, reason] : flight.argumentFailures) {
        plan.failures.push_back({std::move(path), std::move(reason)});
    }
    plan.images.reserve(flight.inputs.size()); // whose outputs are pointed at
    std::unordered_set<std::string_view> outputs;
    for (std::size_t i = 0; i < flight.inputs.size(); ++i) {
        Input& input = flight.inputs[i];
        std::string output = fs::path(input.relative).replace_extension(".tif").string();
        if (!flight.failures[i].empty()) {
            plan.failures.push_back({std::move(input.path), std::move(flight.failures[i])});
        } else if (outputs.count(output) != 0) {
            plan.failures.push_back(
                {std::move(input.path), "another image has the same output " + output});
        } else {
            const ExifInfo& exif = flight.images[i].exif;
            plan.images.push_back(
                {std::move(input.path),
                 std::move(output),
                 flight.images[i].cameraId,
                 exif.lightAveragingSeconds > 0.0 ? exif.sunIrradiance : std::vector<double>()});
            outputs.insert(plan.images.back().output);
        }
    }
    flight.inputs = {};
    flight.failures = {};
}

} // namespace

Plan makePlan(const PlanOptions& options) {
    Flight flight =
        readFlight(expandInputs(options.inputs, options.excluded), options.metadata, options.jobs);
    Plan plan;
    plan.libraryVersion = RADIOMETRY_VERSION;
    plan.type = options.project.type ? wordOf(*options.project.type) : "auto";
    plan.sunlight = options.project.sunlight.text();
    plan.targetsAsked = options.targets;
    plan.sequoiaCalibration = options.project.sequoiaCalibration;
    plan.utcOffsetHours = options.metadata.utcOffsetHours ? options.metadata.utcOffsetHours
                                                          : flight.estimatedUtcOffsetHours;
    listImages(flight, plan);
    plan.donors = options.metadata.donors;
    plan.project = makeProject(flight, options.project, options.metadata, options.jobs);
    plan.cameras = describeCameras(flight, plan.project);
    keepTargetCandidates(plan.project, flight);
    malloc_trim(0); // the metadata of thousands of images were in memory
    decideSensitivity(flight, options, plan);
    plan.warnings = warningsSaid();
    return plan;
}

int plan(const PlanOptions& options, const fs::path& file) {
    const Plan made = makePlan(options);
    for (const PlanFailure& failure : made.failures) {
        sayFailure(failure.path, failure.reason);
    }
    if (made.images.empty()) {
        return NothingDone;
    }
    writePlan(made, file);
    for (const PlannedCamera& camera : made.cameras) {
        show("%-40s %6zu images  %-18s  %s\n",
             camera.name.c_str(),
             camera.imageCount,
             wordOf(made.project.settings.at(camera.id).correctionType).c_str(),
             camera.sensitivitySource.text.c_str());
    }
    for (const auto& [band, fraction] : made.project.sunlight.fractions) {
        show("direct sunlight at %.1f nm: %.4f (%s)\n",
             band.wavelengthNm,
             fraction,
             made.project.sunlight.model.c_str());
    }
    show("%zu images planned in %s\n", made.images.size(), file.c_str());
    return made.failures.empty() ? AllDone : SomeFailed;
}

} // namespace tessik::app
