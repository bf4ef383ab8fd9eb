#include "Plan.h"

#include "CorrectionWords.h"
#include "FlightTargets.h"
#include "platform/exif/ExifReader.h"
#include "radiometry/Config.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <unordered_map>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

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
            for (const QString& name : image.exif.bandNames) {
                camera.bandNames.push_back(name.toStdString());
            }
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

/// Two images of one output are a failure of the second.
void listImages(const Flight& flight, const InputList& inputs, Plan& plan) {
    for (const auto& [path, reason] : inputs.failures) {
        plan.failures.push_back({path, reason});
    }
    std::set<std::string> outputs;
    for (std::size_t i = 0; i < flight.inputs.size(); ++i) {
        const std::string path = flight.inputs[i].path.string();
        std::string output = fs::path(flight.inputs[i].relative).replace_extension(".tif").string();
        if (!flight.failures[i].empty()) {
            plan.failures.push_back({path, flight.failures[i]});
        } else if (!outputs.insert(output).second) {
            plan.failures.push_back({path, "another image has the same output " + output});
        } else {
            plan.images.push_back({path, std::move(output), flight.images[i].cameraId});
        }
    }
}

} // namespace

Plan makePlan(const PlanOptions& options) {
    const InputList inputs = expandInputs(options.inputs, options.excluded);
    Flight flight = readFlight(inputs.images, options.metadata, options.jobs);
    Plan plan;
    plan.libraryVersion = RADIOMETRY_VERSION;
    plan.type = options.project.type ? wordOf(*options.project.type) : "auto";
    plan.sunlight = options.project.sunlight.text();
    plan.targetsAsked = options.targets;
    plan.sequoiaCalibration = options.project.sequoiaCalibration;
    plan.utcOffsetHours = options.metadata.utcOffsetHours ? options.metadata.utcOffsetHours
                                                          : flight.estimatedUtcOffsetHours;
    listImages(flight, inputs, plan);
    plan.project = makeProject(flight, options.project);
    plan.cameras = describeCameras(flight, plan.project);
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
        std::printf("%-40s %6zu images  %-18s  %s\n",
                    camera.name.c_str(),
                    camera.imageCount,
                    wordOf(made.project.settings.at(camera.id).correctionType).c_str(),
                    camera.sensitivitySource.text.c_str());
    }
    for (const auto& [band, fraction] : made.project.sunlight.fractions) {
        std::printf("direct sunlight at %.1f nm: %.4f (%s)\n",
                    band.wavelengthNm,
                    fraction,
                    made.project.sunlight.model.c_str());
    }
    std::printf("%zu images planned in %s\n", made.images.size(), file.c_str());
    return made.failures.empty() ? AllDone : SomeFailed;
}

} // namespace tessik::app
