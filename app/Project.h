#pragma once

#include "ClipLimits.h"
#include "Flight.h"
#include "Rigs.h"
#include "Sunlight.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/Types.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>

namespace tessik::app {

/// What the user asked for that concerns a whole flight.
struct ProjectOptions {
    /// Absent = the richest correction that a camera's metadata support.
    std::optional<radiometry::CorrectionType> type;
    /// Folder of Sequoia model files, <serial number>.tif; empty = none.
    std::filesystem::path sequoiaCalibration;
    SunlightChoice sunlight;
    /// (omega, phi, kappa) of the irradiance sensor relative to the camera, degrees, for cameras
    /// whose metadata do not state it.
    std::optional<Eigen::Vector3f> sensorMount;
};

/// What is decided for a flight before any of its images is corrected.
struct Project {
    /// By camera identifier.
    SettingsByCamera settings;
    /// Factory models by camera identifier.
    std::unordered_map<std::uint64_t, radiometry::sequoia::ModelParameter> sequoiaModels;
    geo::ProjectCoordinateSystems coordinateSystems{};
    /// Middle of the flight; none when no image has a position.
    std::optional<GeoPosition> center;
    /// Fraction of direct sunlight, for the cameras that are corrected for the sun angle.
    Sunlight sunlight;
    /// Why that fraction is not known; empty = it is, or is not needed.
    std::string sunlightFailure;
    /// True where the user named the type.
    bool isTypeChosen = false;
    std::optional<Eigen::Vector3f> sensorMount; ///< as in ProjectOptions
    /// Sensitivity of each band, by camera identifier; no entry = none.
    std::unordered_map<std::uint64_t, std::vector<double>> sensitivities;
    /// Names, sizes and times of the model files in use, and of images that lend their calibration.
    std::string modelFiles;
    /// Where samples clip, of the cameras whose metadata do not tell.
    ClipLimits clipLimits;
    /// The cameras that fly together.
    std::vector<Rig> rigs;

    /// Text that changes when a decision does that changes the pixels of a camera's images.
    [[nodiscard]] std::string fingerprint(std::uint64_t cameraId) const;
    [[nodiscard]] std::vector<double> sensitivityOf(const InputImage& image) const {
        const auto found = sensitivities.find(image.cameraId);
        return found == sensitivities.end() ? std::vector<double>() : found->second;
    }
    [[nodiscard]] radiometry::CorrectionType typeOf(const InputImage& image) const {
        return settings.at(image.cameraId).correctionType;
    }
    /// Null = none.
    [[nodiscard]] const radiometry::sequoia::ModelParameter*
    sequoiaModelOf(const InputImage& image) const {
        const auto found = sequoiaModels.find(image.cameraId);
        return found == sequoiaModels.end() ? nullptr : &found->second;
    }
};

/// States the sensor's orientation where there is a reading that is not level already and the
/// metadata do not state it.
void mountSensor(const std::optional<Eigen::Vector3f>& mount, InputImage& image);

/// Loads the models of the cameras' own bodies. Warnings are said.
/// @param images at least one of each camera
/// @throws std::runtime_error when the folder cannot be read
void loadSequoiaModels(const CamerasData& cameras,
                       const std::vector<InputImage>& images,
                       const std::filesystem::path& folder,
                       Project& project);

/// Notes which files lend calibration, so that a change of them changes what is made with them.
void noteDonors(const exif::ReadOptions& options, Project& project);

/// Decides. Warnings are said. @throws std::runtime_error when a folder of models cannot be read
Project makeProject(Flight& flight,
                    const ProjectOptions& options,
                    const exif::ReadOptions& metadata,
                    int jobs);

} // namespace tessik::app
