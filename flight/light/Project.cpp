#include "flight/light/Project.h"

#include "flight/input/Pixels.h"
#include "flight/light/Poses.h"
#include "flight/light/TypeChoice.h"
#include "radiometry/cameras/sequoia/loadCalibration.h"
#include "radiometry/config/CorrectionSelection.h"
#include "radiometry/config/Validation.h"

#include <algorithm>
#include <utility>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using radiometry::CorrectionType;

/// Gives each camera its type: the one that was asked for, or the one of its rig. An image whose
/// metadata lack so much that it cannot be corrected at all (damaged, or of a capture that failed)
/// costs itself only. Thermal cameras, which are in no rig, have no light to correct for.
/// @return one reason a rig
std::vector<std::string> chooseTypes(const Flight& flight,
                                     const std::vector<LightSeries>& series,
                                     const ProjectOptions& options,
                                     Project& project) {
    for (const auto& [id, camera] : flight.cameras) {
        project.settings[id] = {CorrectionType::NoCorrection};
    }
    TypeChoice choice(flight, project.coordinateSystems, options.sunlight);
    std::vector<std::string> reasons;
    for (std::size_t i = 0; i < project.rigs.size(); ++i) {
        const RigType type = options.type ? RigType{*options.type, "asked for"}
                                          : choice.choose(project.rigs[i], series[i]);
        for (const std::uint64_t camera : project.rigs[i]) {
            project.settings[camera] = {type.type};
        }
        reasons.push_back(type.reason);
    }
    return reasons;
}

bool isOvercast(const Flight& flight,
                const std::vector<LightSeries>& series,
                const geo::ProjectCoordinateSystems& systems) {
    bool hasLight = false;
    for (const LightSeries& one : series) {
        if (!one.captures.empty()) {
            hasLight = true;
            if (skyOver(one, flight, systems).state != SkyState::Overcast) {
                return false;
            }
        }
    }
    return hasLight;
}

std::string stateOf(const fs::path& file) {
    std::error_code ignored;
    return file.string() + " " + std::to_string(fs::file_size(file, ignored)) + " " +
           std::to_string(fs::last_write_time(file, ignored).time_since_epoch().count());
}

} // namespace

const radiometry::sequoia::ModelParameter* Project::sequoiaModelOf(const InputImage& image) const {
    const auto found = sequoiaModels.find(image.cameraId);
    return found == sequoiaModels.end() ? nullptr : &found->second;
}

void Project::check(const InputImage& image) const {
    const CorrectionType type = typeOf(image);
    // Unless the user asked for no correction, the least one is expected of a camera.
    const bool isUnknown = !doAnyCorrection(type) && !isTypeChosen;
    if (!isTypeChosen && doAnyCorrection(type) && !image.exif.isNormalized &&
        !doAnyCorrection(radiometry::guessRadiometricCorrectionTypeFromImage(image))) {
        throw Refusal(
            "the metadata lack what other images of this camera state and its correction needs");
    }
    for (const RigLight& light : lights) {
        if (doIrradianceCorrection(type) && !light.sky.refusal.empty() &&
            std::binary_search(light.cameras.begin(), light.cameras.end(), image.cameraId)) {
            throw Refusal(light.sky.refusal);
        }
    }
    const std::string reason = radiometry::whyNotToCorrect(
        image, isUnknown ? CorrectionType::CameraOnly : type, sequoiaModelOf(image));
    if (!reason.empty()) {
        throw Refusal(reason);
    }
    if (isUnknown && !image.exif.isThermal) {
        throw Refusal("the metadata hold neither a sensitivity nor an irradiance; ask for --type "
                      "camera to correct exposure only, or --type none");
    }
}

void loadSequoiaModels(const CamerasData& cameras,
                       const std::vector<InputImage>& images,
                       const fs::path& folder,
                       Project& project,
                       Warnings& warnings) {
    radiometry::sequoia::CalibrationFiles files;
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(folder, failure)) {
        if (entry.path().extension() == ".tif") {
            files[QString::fromStdString(entry.path().stem().string())] =
                QString::fromStdString(entry.path().string());
        }
        project.modelFiles += " " + stateOf(entry.path());
    }
    if (failure) {
        throw std::runtime_error(folder.string() + ": " + failure.message());
    }
    project.sequoiaModels =
        radiometry::sequoia::loadFactoryCalibrationByCamera(files, cameras, images);
    if (project.sequoiaModels.empty()) {
        warnings.add(folder.string(), "no model file of this flight's cameras");
    }
}

void noteDonors(const exif::ReadOptions& options, Project& project) {
    for (const exif::CalibrationDonor& donor :
         options.donors ? *options.donors : exif::CalibrationDonors()) {
        project.modelFiles += " " + stateOf(donor.path);
    }
}

Project decideProject(const Flight& flight, const ProjectOptions& options, Observer& observer) {
    Warnings warnings(observer);
    const Listening listening(observer, warnings);
    Project project;
    project.rigs = rigsOf(flight.images);
    project.clipLimits = flight.clipLimits;
    noteDonors(flight.metadata, project);
    project.isTypeChosen = options.type.has_value();
    project.sensorMount = flight.sensorMount;
    project.center = centerOf(flight);
    project.coordinateSystems = coordinateSystemsAt(project.center);
    std::vector<LightSeries> series;
    for (const Rig& rig : project.rigs) {
        series.push_back(lightSeriesOf(rig, flight));
    }
    const std::vector<std::string> reasons = chooseTypes(flight, series, options, project);
    const bool needsSunlight =
        std::any_of(project.settings.begin(), project.settings.end(), [](const auto& setting) {
            return doSunAngleCorrection(setting.second.correctionType);
        });
    if (!options.sequoiaCalibration.empty()) {
        loadSequoiaModels(
            flight.cameras, flight.images, options.sequoiaCalibration, project, warnings);
    }
    if (needsSunlight && options.sunlight.model != SunlightChoice::Model::None) {
        try {
            project.sunlight = decideSunlight(flight,
                                              project.settings,
                                              project.coordinateSystems,
                                              options.sunlight,
                                              isOvercast(flight, series, project.coordinateSystems),
                                              warnings);
        } catch (const radiometry::error& failure) {
            project.sunlightFailure = failure.what();
        }
    }
    for (std::size_t i = 0; i < project.rigs.size(); ++i) {
        if (!series[i].captures.empty()) {
            const CorrectionType type = project.settings.at(project.rigs[i].front()).correctionType;
            project.lights.push_back(lightOf(std::move(series[i]),
                                             flight,
                                             type,
                                             project.sunlight,
                                             project.coordinateSystems,
                                             options.light));
            project.lights.back().typeReason = reasons[i];
        }
    }
    project.warnings = warnings.list();
    return project;
}

} // namespace tessik::flight
