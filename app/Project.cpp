#include "Project.h"

#include "Console.h"
#include "Poses.h"
#include "platform/exif/Predicates.h"
#include "radiometry/Config.h"
#include "radiometry/sequoia/FactoryCalibration.h"

#include <algorithm>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using radiometry::CorrectionType;

CorrectionType typeFor(const Flight& flight, std::size_t cameraId, const ProjectOptions& options) {
    return options.type
               ? *options.type
               : radiometry::guessRadiometricCorrectionTypeFromImage(flight.images, cameraId);
}

std::string stateOf(const fs::path& file) {
    std::error_code ignored;
    return file.string() + " " + std::to_string(fs::file_size(file, ignored)) + " " +
           std::to_string(fs::last_write_time(file, ignored).time_since_epoch().count());
}

void loadSequoiaModels(const Flight& flight, const fs::path& folder, Project& project) {
    radiometry::sequoia::CalibrationFiles files;
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(folder, failure)) {
        if (entry.path().extension() == ".tif") {
            files[QString::fromStdString(entry.path().stem().string())] =
                QString::fromStdString(entry.path().string());
        }
        project.fingerprint += " " + stateOf(entry.path());
    }
    if (failure) {
        throw std::runtime_error(folder.string() + ": " + failure.message());
    }
    project.sequoiaModels =
        radiometry::sequoia::loadFactoryCalibrationByCamera(files, flight.cameras, flight.images);
    if (project.sequoiaModels.empty()) {
        sayWarning(folder.string(), "no model file of this flight's cameras");
    }
}

void decideLight(const Flight& flight, const ProjectOptions& options, Project& project) {
    project.coordinateSystems = coordinateSystemsOf(flight);
    try {
        project.sunlight =
            decideSunlight(flight, project.settings, project.coordinateSystems, options.sunlight);
    } catch (const radiometry::error& failure) {
        project.sunlightFailure = failure.what();
    }
    for (const auto& [band, fraction] : project.sunlight) {
        project.fingerprint += " " + QString::number(fraction, 'g', 17).toStdString();
    }
    if (options.sensorMount) {
        for (const float angle : *options.sensorMount) {
            project.fingerprint += " " + std::to_string(angle);
        }
    }
}

} // namespace

void mountSensor(const std::optional<Eigen::Vector3f>& mount, Flight& flight) {
    if (!mount) {
        return;
    }
    for (InputImage& image : flight.images) {
        if (exif::hasSunIrradiance(image.exif) && !image.exif.sunSensorRelativeOrientation) {
            image.exif.sunSensorRelativeOrientation = mount;
        }
    }
}

Project makeProject(Flight& flight, const ProjectOptions& options) {
    mountSensor(options.sensorMount, flight);
    Project project;
    project.isTypeChosen = options.type.has_value();
    for (const auto& [id, camera] : flight.cameras) {
        project.settings[id] = {typeFor(flight, id, options)};
    }
    if (!options.sequoiaCalibration.empty()) {
        loadSequoiaModels(flight, options.sequoiaCalibration, project);
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
