#include "flight/plan/Plan.h"

#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"
#include "flight/json/Json.h"
#include "flight/target/RigTargets.h"
#include "radiometry/config/CorrectionSelection.h"

#include <malloc.h>

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace tessik::flight {
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

/// The images in the order of the inputs. Two images of one output are a failure of the second.
void listImages(const Flight& flight, Plan& plan) {
    std::set<std::uint64_t> steadied;
    for (const RigLight& light : plan.decisions.project.lights) {
        if (light.isSteady) {
            steadied.insert(light.cameras.begin(), light.cameras.end());
        }
    }
    plan.failures = flight.argumentFailures;
    plan.images.reserve(flight.inputs.size()); // whose outputs are pointed at
    std::unordered_set<std::string_view> outputs;
    for (std::size_t i = 0; i < flight.inputs.size(); ++i) {
        const Input& input = flight.inputs[i];
        std::string output = fs::path(input.relative).replace_extension(".tif").string();
        if (!flight.reasons[i].empty()) {
            plan.failures.push_back({input.path, flight.reasons[i]});
        } else if (outputs.count(output) != 0) {
            plan.failures.push_back({input.path, "another image has the same output " + output});
        } else {
            const ExifInfo& exif = flight.images[i].exif;
            plan.images.push_back(
                {input.path,
                 std::move(output),
                 flight.images[i].cameraId,
                 exif.lightAveragingSeconds > 0.0 || steadied.count(flight.images[i].cameraId) > 0
                     ? exif.sunIrradiance
                     : std::vector<double>()});
            outputs.insert(plan.images.back().output);
        }
    }
}

} // namespace

std::vector<double> Decisions::sensitivityOf(const InputImage& image) const {
    const auto found = sensitivities.find(image.cameraId);
    return found == sensitivities.end() ? std::vector<double>()
                                        : found->second.at(image.geo.captureTime);
}

std::string Decisions::fingerprint(std::uint64_t cameraId) const {
    const radiometry::CorrectionType type = project.settings.at(cameraId).correctionType;
    std::string text = wordOf(type) + project.modelFiles;
    const auto append = [&text](double number) { text += " " + exactText(number); };
    if (doSunAngleCorrection(type)) {
        for (const auto& [band, fraction] : project.sunlight.fractions) {
            append(fraction);
        }
        for (const float angle : project.sensorMount.value_or(Eigen::Vector3f::Zero())) {
            append(static_cast<double>(angle));
        }
    }
    if (const auto found = project.clipLimits.find(cameraId); found != project.clipLimits.end()) {
        text += " clips";
        append(found->second);
    }
    if (const auto found = sensitivities.find(cameraId); found != sensitivities.end()) {
        text += " sensitivity";
        for (const double value : found->second.values) {
            append(value);
        }
        for (const TimedSensitivity& moment : found->second.course) {
            append(moment.time);
            for (const double value : moment.values) {
                append(value);
            }
        }
    }
    return text;
}

Plan makePlan(const PlanOptions& options, Observer& observer) {
    Flight flight = readFlight(options.flight, observer);
    Plan plan;
    plan.libraryVersion = RADIOMETRY_VERSION;
    plan.type = options.project.type ? wordOf(*options.project.type) : "auto";
    plan.sunlight = options.project.sunlight.text();
    plan.targetsAsked = options.targets;
    plan.sequoiaCalibration = options.project.sequoiaCalibration;
    plan.metadata = flight.metadata;
    if (plan.metadata.donors) {
        for (const exif::CalibrationDonor& donor : *plan.metadata.donors) {
            plan.calibrationFrom.push_back(donor.path);
        }
    }
    plan.light = options.project.light == LightChoice::Raw ? "raw" : "steady";
    Project& project = plan.decisions.project;
    project = decideProject(flight, options.project, observer);
    useLight(project.lights, flight);
    listImages(flight, plan);
    plan.cameras = describeCameras(flight, project);
    Warnings warnings(observer);
    warnings.join(flight.warnings);
    warnings.join(project.warnings);
    const Flight candidates = targetImages(std::move(flight), project);
    malloc_trim(0); // the metadata of thousands of images were in memory
    Sensitivities sensitivities =
        decideSensitivities(candidates, project, options.targets, options.flight.jobs, observer);
    plan.decisions.sensitivities = std::move(sensitivities.byCamera);
    plan.targets = std::move(sensitivities.targets);
    plan.witnesses = std::move(sensitivities.witnesses);
    plan.uncertainties = std::move(sensitivities.uncertainties);
    warnings.join(sensitivities.warnings);
    plan.warnings = warnings.list();
    return plan;
}

} // namespace tessik::flight
