#include "Project.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "radiometry/Config.h"
#include "radiometry/sequoia/FactoryCalibration.h"

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using radiometry::CorrectionType;

/// Corrections richer than this are not built yet; what they need is left out, not guessed.
constexpr auto kRichest = CorrectionType::CameraOnly;

CorrectionType typeFor(const Flight& flight, std::size_t cameraId, const ProjectOptions& options) {
    if (options.type) {
        return *options.type;
    }
    const CorrectionType guess =
        radiometry::guessRadiometricCorrectionTypeFromImage(flight.images, cameraId);
    if (guess > kRichest) {
        sayWarning({},
                   "the metadata would allow '" + wordOf(guess) + "'; corrected as '" +
                       wordOf(kRichest) + "'");
        return kRichest;
    }
    return guess;
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

} // namespace

Project makeProject(const Flight& flight, const ProjectOptions& options) {
    Project project;
    project.isTypeChosen = options.type.has_value();
    for (const auto& [id, camera] : flight.cameras) {
        project.settings[id] = {typeFor(flight, id, options)};
    }
    if (!options.sequoiaCalibration.empty()) {
        loadSequoiaModels(flight, options.sequoiaCalibration, project);
    }
    return project;
}

} // namespace tessik::app
