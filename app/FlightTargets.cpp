#include "FlightTargets.h"

#include "Console.h"
#include "ImageCorrector.h"
#include "MakerConstant.h"
#include "SensitivityFile.h"

#include <algorithm>
#include <memory>

namespace tessik::app {
namespace {

const InputImage& firstImageOf(std::uint64_t cameraId, const Flight& flight) {
    return *std::find_if(
        flight.images.begin(), flight.images.end(), [cameraId](const InputImage& image) {
            return image.enabled && image.cameraId == cameraId;
        });
}

void useTargets(const Flight& flight, Plan& plan) {
    const radiometry::TargetCalibration result = radiometry::calibrateFromTargets(
        targetRequest(flight, plan.project, target::targetDetectors()));
    for (PlannedCamera& camera : plan.cameras) {
        const auto found = result.cameras.find(camera.id);
        if (found != result.cameras.end() && !found->second.sensitivity.empty()) {
            plan.project.sensitivities[camera.id] = found->second.sensitivity;
            camera.sensitivitySource = {"target", found->second.source.toStdString()};
        }
    }
    for (const radiometry::MeasuredTarget& target : result.targets) {
        if (!target.isUsed) {
            sayWarning(target.imagePath.toStdString(),
                       "target not used: " + target.remark.toStdString());
        }
        plan.targets.push_back({target, {}});
    }
}

void useFile(const Flight& flight, const std::string& path, Plan& plan) {
    const SensitivityFile file = readSensitivityFile(path);
    for (PlannedCamera& camera : plan.cameras) {
        const auto type = plan.project.settings.at(camera.id).correctionType;
        const std::vector<double> sensitivity = [&] {
            try {
                return sensitivityFor(firstImageOf(camera.id, flight), type, file);
            } catch (const Refusal& refusal) {
                throw std::runtime_error(path + ": " + camera.name + ": " + refusal.what());
            }
        }();
        if (sensitivity.empty()) {
            sayWarning(path, "no sensitivity of camera " + camera.name);
            continue;
        }
        plan.project.sensitivities[camera.id] = sensitivity;
        camera.sensitivitySource = {"file", path};
    }
    for (const CameraSensitivity& camera : file.cameras) {
        plan.targets.insert(plan.targets.end(), camera.targets.begin(), camera.targets.end());
    }
}

void useMakerConstants(const Flight& flight, Plan& plan) {
    for (PlannedCamera& camera : plan.cameras) {
        const std::vector<double> sensitivity =
            makerSensitivity(firstImageOf(camera.id, flight).exif,
                             plan.project.settings.at(camera.id).correctionType);
        if (sensitivity.empty() || plan.project.sensitivities.count(camera.id) > 0) {
            continue;
        }
        plan.project.sensitivities[camera.id] = sensitivity;
        camera.sensitivitySource = {"maker", "the maker's constant; no target was used"};
        sayWarning({},
                   "no reflectance target was used: reflectance is by the maker's constant and "
                   "the irradiance sensor");
    }
}

} // namespace

radiometry::TargetCalibrationRequest
targetRequest(const Flight& flight,
              const Project& project,
              const std::vector<std::unique_ptr<target::ITargetDetector>>& detectors) {
    radiometry::TargetCalibrationRequest request{flight.images,
                                                 flight.cameras,
                                                 project.coordinateSystems,
                                                 project.settings,
                                                 project.sunlight.fractions,
                                                 project.sequoiaModels,
                                                 detectors};
    request.prepare = [&project](InputImage& image) {
        (void)openPixels(image);
        ImageCorrector(project).check(image);
        if (doSunAngleCorrection(project.typeOf(image)) && !project.sunlightFailure.empty()) {
            throw Refusal(project.sunlightFailure);
        }
    };
    return request;
}

void decideSensitivity(const Flight& flight, const PlanOptions& options, Plan& plan) {
    if (options.targets == "none") {
        return;
    }
    if (options.targets != "auto") {
        useFile(flight, options.targets, plan);
        return;
    }
    useTargets(flight, plan);
    useMakerConstants(flight, plan);
}

} // namespace tessik::app
