#include "flight/light/Project.h"

#include "flight/input/Pixels.h"
#include "flight/light/Poses.h"
#include "radiometry/cameras/sequoia/loadCalibration.h"
#include "radiometry/config/CorrectionSelection.h"
#include "radiometry/config/Validation.h"

#include <algorithm>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using radiometry::CorrectionType;

/// The type that was asked for, or the richest one that all images of a camera support. One whose
/// metadata lack so much that it cannot be corrected at all (damaged, or of a capture that failed)
/// costs itself only. Thermal cameras have no light to correct for.
CorrectionType
typeFor(const Flight& flight, std::uint64_t cameraId, const std::optional<CorrectionType>& asked) {
    std::optional<CorrectionType> least;
    for (const InputImage& image : flight.images) {
        if (!image.enabled || image.cameraId != cameraId) {
            continue;
        }
        if (image.exif.isThermal) {
            return CorrectionType::NoCorrection;
        }
        const CorrectionType guess = radiometry::guessRadiometricCorrectionTypeFromImage(image);
        if (doAnyCorrection(guess)) {
            least = std::min(least.value_or(guess), guess);
        }
    }
    return asked.value_or(least.value_or(CorrectionType::NoCorrection));
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
    bool needsSunlight = false;
    for (const auto& [id, camera] : flight.cameras) {
        const CorrectionType type = typeFor(flight, id, options.type);
        project.settings[id] = {type};
        needsSunlight = needsSunlight || doSunAngleCorrection(type);
    }
    if (!options.sequoiaCalibration.empty()) {
        loadSequoiaModels(
            flight.cameras, flight.images, options.sequoiaCalibration, project, warnings);
    }
    if (needsSunlight && options.sunlight.model != SunlightChoice::Model::None) {
        try {
            project.sunlight = decideSunlight(
                flight, project.settings, project.coordinateSystems, options.sunlight, warnings);
        } catch (const radiometry::error& failure) {
            project.sunlightFailure = failure.what();
        }
    }
    project.warnings = warnings.list();
    return project;
}

} // namespace tessik::flight
