#include "Project.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "Poses.h"
#include "platform/camera/ExifInfo.h"
#include "platform/math/Angle.h"
#include "radiometry/cameras/sequoia/loadCalibration.h"
#include "radiometry/config/CorrectionSelection.h"

#include <algorithm>
#include <cmath>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using radiometry::CorrectionType;

bool isThermal(const Flight& flight, std::uint64_t cameraId) {
    return std::any_of(flight.images.begin(), flight.images.end(), [&](const InputImage& image) {
        return image.enabled && image.cameraId == cameraId && image.exif.isThermal;
    });
}

/// The richest type that a camera's images support. One whose metadata lack so much that it cannot
/// be corrected at all (damaged, or of a capture that failed) costs itself only.
CorrectionType guessedType(const Flight& flight, std::uint64_t cameraId) {
    std::optional<CorrectionType> least;
    for (const InputImage& image : flight.images) {
        if (!image.enabled || image.cameraId != cameraId) {
            continue;
        }
        const CorrectionType guess = radiometry::guessRadiometricCorrectionTypeFromImage(image);
        if (doAnyCorrection(guess)) {
            least = std::min(least.value_or(guess), guess);
        }
    }
    return least.value_or(CorrectionType::NoCorrection);
}

CorrectionType typeFor(const Flight& flight, std::size_t cameraId, const ProjectOptions& options) {
    if (isThermal(flight, cameraId)) {
        return CorrectionType::NoCorrection;
    }
    return options.type.value_or(guessedType(flight, cameraId));
}

std::string stateOf(const fs::path& file) {
    std::error_code ignored;
    return file.string() + " " + std::to_string(fs::file_size(file, ignored)) + " " +
           std::to_string(fs::last_write_time(file, ignored).time_since_epoch().count());
}

void decideLight(const Flight& flight, const ProjectOptions& options, Project& project) {
    try {
        project.sunlight =
            decideSunlight(flight, project.settings, project.coordinateSystems, options.sunlight);
    } catch (const radiometry::error& failure) {
        project.sunlightFailure = failure.what();
    }
}

std::string exactText(double number) {
    return " " + QString::number(number, 'g', 17).toStdString();
}

} // namespace

std::string Project::fingerprint(std::uint64_t cameraId) const {
    const CorrectionType type = settings.at(cameraId).correctionType;
    std::string text = wordOf(type) + modelFiles;
    if (doSunAngleCorrection(type)) {
        for (const auto& [band, fraction] : sunlight.fractions) {
            text += exactText(fraction);
        }
        for (const float angle : sensorMount.value_or(Eigen::Vector3f::Zero())) {
            text += exactText(static_cast<double>(angle));
        }
    }
    if (const auto found = clipLimits.find(cameraId); found != clipLimits.end()) {
        text += " clips" + exactText(found->second);
    }
    if (const auto found = sensitivities.find(cameraId); found != sensitivities.end()) {
        text += " sensitivity";
        for (const double value : found->second) {
            text += exactText(value);
        }
    }
    return text;
}

void mountSensor(const std::optional<Eigen::Vector3f>& mount, InputImage& image) {
    if (mount && std::cos((*mount)[0] * kDegree) * std::cos((*mount)[1] * kDegree) < 0.0) {
        sayWarning(
            {},
            "--sensor-mount: the irradiance sensor looks down when the camera does; 0,0,0 is "
            "a sensor on its back");
    }
    if (mount && exif::hasSunIrradiance(image.exif) && !image.exif.isSunIrradianceLevel &&
        !image.exif.sunSensorRelativeOrientation) {
        image.exif.sunSensorRelativeOrientation = mount;
    }
}

void loadSequoiaModels(const CamerasData& cameras,
                       const std::vector<InputImage>& images,
                       const fs::path& folder,
                       Project& project) {
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
        sayWarning(folder.string(), "no model file of this flight's cameras");
    }
}

void noteDonors(const exif::ReadOptions& options, Project& project) {
    for (const exif::CalibrationDonor& donor :
         options.donors ? *options.donors : exif::CalibrationDonors()) {
        project.modelFiles += " " + stateOf(donor.path);
    }
}

Project makeProject(Flight& flight,
                    const ProjectOptions& options,
                    const exif::ReadOptions& metadata,
                    int jobs) {
    Project project;
    project.rigs = rigsOf(flight.images);
    project.clipLimits = findClipLimits(flight.images, jobs);
    for (const auto& [camera, limit] : project.clipLimits) {
        flight.cameras.at(camera).params.storedRange = {0.0, limit};
    }
    noteDonors(metadata, project);
    for (InputImage& image : flight.images) {
        mountSensor(options.sensorMount, image);
        useClipLimit(project.clipLimits, image);
    }
    project.isTypeChosen = options.type.has_value();
    project.sensorMount = options.sensorMount;
    project.center = centerOf(flight);
    project.coordinateSystems = coordinateSystemsAt(project.center);
    for (const auto& [id, camera] : flight.cameras) {
        project.settings[id] = {typeFor(flight, id, options)};
    }
    if (!options.sequoiaCalibration.empty()) {
        loadSequoiaModels(flight.cameras, flight.images, options.sequoiaCalibration, project);
    }
    const bool needsSunAngle =
        std::any_of(project.settings.begin(), project.settings.end(), [](const auto& entry) {
            return doSunAngleCorrection(entry.second.correctionType);
        });
    if (needsSunAngle) {
        decideLight(flight, options, project);
    }
    return project;
}

} // namespace tessik::app
