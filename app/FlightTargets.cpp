#include "FlightTargets.h"

#include "Console.h"
#include "ImageCorrector.h"
#include "RigTargets.h"
#include "SensitivityFile.h"
#include "TargetPictures.h"
#include "Targets.h"
#include "platform/panel/Detectors.h"
#include "radiometry/config/MakerSensitivity.h"

#include <algorithm>
#include <memory>
#include <set>
#include <unordered_set>

namespace tessik::app {
namespace {

const InputImage& firstImageOf(std::uint64_t cameraId, const Flight& flight) {
    return *std::find_if(
        flight.images.begin(), flight.images.end(), [cameraId](const InputImage& image) {
            return image.enabled && image.cameraId == cameraId;
        });
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
    RigTargetOptions how;
    how.useAllImages = true; // that are left: those that are looked into
    how.jobs = options.jobs;
    const radiometry::TargetCalibration result =
        calibrateRigs(flight, plan.project, target::targetDetectors(), how);
    for (PlannedCamera& camera : plan.cameras) {
        const auto found = result.cameras.find(camera.id);
        if (found != result.cameras.end() && !found->second.sensitivity.empty()) {
            plan.project.sensitivities[camera.id] = found->second.sensitivity;
            camera.sensitivitySource = {"target", found->second.source.toStdString()};
        }
    }
    for (const radiometry::MeasuredTarget& target : result.targets) {
        if (!target.isUsed) {
            sayWarning(target.imagePath.toStdString(), whyNotUsed(target));
        }
        plan.targets.push_back({target, {}});
    }
    if (!options.pictures.empty()) {
        drawTargets(options.pictures, options.pictures.parent_path(), plan.targets);
    }
}

/// Takes away the sensitivities of rigs of which some bands have one and some do not.
void keepWholeRigs(const std::string& source, Plan& plan) {
    auto& sensitivities = plan.project.sensitivities;
    for (const Rig& rig : plan.project.rigs) {
        std::string lacking;
        std::size_t count = 0;
        for (const PlannedCamera& camera : plan.cameras) {
            if (!std::binary_search(rig.begin(), rig.end(), camera.id)) {
                continue;
            }
            if (sensitivities.count(camera.id) > 0) {
                ++count;
            } else {
                lacking.append(lacking.empty() ? "" : ", ").append(camera.name);
            }
        }
        if (count == 0 || count == rig.size()) {
            continue;
        }
        std::string text = source;
        text.append(" has no sensitivity for ").append(lacking);
        text += ": it is used for no band of the rig, because ratios of bands from two sources "
                "would be wrong";
        sayWarning({}, text);
        for (PlannedCamera& camera : plan.cameras) {
            if (std::binary_search(rig.begin(), rig.end(), camera.id)) {
                sensitivities.erase(camera.id);
                camera.sensitivitySource = {};
            }
        }
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
            continue;
        }
        plan.project.sensitivities[camera.id] = sensitivity;
        camera.sensitivitySource = {"file", path};
    }
    keepWholeRigs(path, plan);
    for (const PlannedCamera& camera : plan.cameras) {
        if (camera.unit.empty() && plan.project.sensitivities.count(camera.id) == 0) {
            sayWarning(path, "no sensitivity of camera " + camera.name);
        }
    }
    for (const CameraSensitivity& camera : file.cameras) {
        plan.targets.insert(plan.targets.end(), camera.targets.begin(), camera.targets.end());
    }
}

/// For the rigs that have no target.
void useMakerConstants(const Flight& flight, Plan& plan) {
    bool isUsed = false;
    for (PlannedCamera& camera : plan.cameras) {
        if (plan.project.sensitivities.count(camera.id) > 0) {
            continue;
        }
        const std::vector<double> sensitivity =
            radiometry::makerSensitivity(firstImageOf(camera.id, flight).exif,
                                         plan.project.settings.at(camera.id).correctionType);
        if (!sensitivity.empty()) {
            plan.project.sensitivities[camera.id] = sensitivity;
            camera.sensitivitySource = {"maker", "the maker's constant; no target was used"};
            isUsed = true;
        }
    }
    keepWholeRigs("the maker's constant", plan);
    if (isUsed) {
        sayWarning(
            {},
            "no reflectance target was used: reflectance is by the maker's constant and "
            "the irradiance sensor. Where that sensor was tilted or shaded it is off by tens "
            "of percent, and differently in each band");
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
    const auto& detectors = target::targetDetectors();
    const std::vector<std::size_t> candidates =
        radiometry::targetCandidates(targetRequest(flight, project, project.settings, detectors));
    std::set<std::size_t> wanted(candidates.begin(), candidates.end());
    std::unordered_set<std::string> captures;
    for (const std::size_t i : candidates) {
        captures.insert(captureOf(flight.images[i]));
    }
    captures.erase("");
    for (std::size_t i = 0; i < flight.images.size(); ++i) {
        if (flight.images[i].enabled && captures.count(captureOf(flight.images[i])) > 0) {
            wanted.insert(i);
        }
    }
    std::vector<InputImage> kept;
    kept.reserve(wanted.size());
    for (const std::size_t i : wanted) {
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
