#include "FlightTargets.h"

#include "Console.h"
#include "ImageCorrector.h"
#include "MakerConstant.h"
#include "SensitivityFile.h"
#include "TargetPictures.h"
#include "Targets.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

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

/// Camera by camera, so that cameras are looked at in parallel.
std::vector<radiometry::TargetCalibration>
calibrateCameras(const Flight& flight, const Plan& plan, int jobs) {
    std::vector<radiometry::TargetCalibration> results(plan.cameras.size());
    tbb::task_arena arena(jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, results.size(), [&](std::size_t i) {
            const std::uint64_t id = plan.cameras[i].id;
            const SettingsByCamera settings = {{id, plan.project.settings.at(id)}};
            results[i] = radiometry::calibrateFromTargets(
                targetRequest(flight, plan.project, settings, target::targetDetectors()));
        });
    });
    return results;
}

std::string whyNotUsed(const radiometry::MeasuredTarget& measured) {
    const std::vector<double>& factors = measured.target.reflectanceFactors;
    const bool isKnown =
        std::all_of(factors.begin(), factors.end(), [](double factor) { return factor > 0.0; });
    std::string text = "target not used: " + measured.remark.toStdString();
    if (!isKnown && !measured.target.id.isEmpty()) {
        const std::string name = TargetName{measured.target.type, measured.target.id}.text();
        text += " 'radiometry targets set " + name + " WAVELENGTH_FWHM=VALUE' states them.";
    }
    return text;
}

void useTargets(const Flight& flight, const PlanOptions& options, Plan& plan) {
    const std::vector<radiometry::TargetCalibration> results =
        calibrateCameras(flight, plan, options.jobs);
    for (std::size_t i = 0; i < results.size(); ++i) {
        PlannedCamera& camera = plan.cameras[i];
        const auto found = results[i].cameras.find(camera.id);
        if (found != results[i].cameras.end() && !found->second.sensitivity.empty()) {
            plan.project.sensitivities[camera.id] = found->second.sensitivity;
            camera.sensitivitySource = {"target", found->second.source.toStdString()};
        }
        for (const radiometry::MeasuredTarget& target : results[i].targets) {
            if (!target.isUsed) {
                sayWarning(target.imagePath.toStdString(), whyNotUsed(target));
            }
            plan.targets.push_back({target, {}});
        }
    }
    if (!options.pictures.empty()) {
        drawTargets(options.pictures, options.pictures.parent_path(), plan.targets);
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
              const SettingsByCamera& settings,
              const std::vector<std::unique_ptr<target::ITargetDetector>>& detectors) {
    radiometry::TargetCalibrationRequest request{flight.images,
                                                 flight.cameras,
                                                 project.coordinateSystems,
                                                 settings,
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

void keepTargetCandidates(const Project& project, Flight& flight) {
    std::vector<InputImage> kept;
    const auto& detectors = target::targetDetectors();
    for (const std::size_t i : radiometry::targetCandidates(
             targetRequest(flight, project, project.settings, detectors))) {
        kept.push_back(std::move(flight.images[i]));
    }
    flight.images = std::move(kept);
}

void decideSensitivity(const Flight& flight, const PlanOptions& options, Plan& plan) {
    if (options.targets == "none") {
        return;
    }
    if (options.targets != "auto") {
        useFile(flight, options.targets, plan);
        return;
    }
    useTargets(flight, options, plan);
    useMakerConstants(flight, plan);
}

} // namespace tessik::app
