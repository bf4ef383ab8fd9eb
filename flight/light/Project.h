#pragma once

#include "flight/input/Flight.h"
#include "flight/light/RigLight.h"
#include "flight/light/Rigs.h"
#include "flight/light/Sunlight.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/Types.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// What the user asked for that concerns a whole flight.
struct ProjectOptions {
    /// Absent = what the evidence speaks for: TypeChoice.
    std::optional<radiometry::CorrectionType> type;
    /// Folder of Sequoia model files, <serial number>.tif; empty = no models.
    std::filesystem::path sequoiaCalibration;
    SunlightChoice sunlight;
    LightChoice light = LightChoice::Steady;
};

/// Factory models by camera identifier.
using SequoiaModels = std::unordered_map<std::uint64_t, radiometry::sequoia::ModelParameter>;

/// What is decided for a flight before a target is measured in it.
struct Project {
    /// By camera identifier.
    SettingsByCamera settings;
    /// True where the user named the type.
    bool isTypeChosen = false;
    SequoiaModels sequoiaModels;
    geo::ProjectCoordinateSystems coordinateSystems{};
    /// Middle of the flight; absent when no image has a position.
    std::optional<GeoPosition> center;
    /// Fraction of direct sunlight, for the cameras that are corrected for the sun angle.
    Sunlight sunlight;
    /// Why that fraction is not known; empty = it is, or is not needed.
    std::string sunlightFailure;
    std::optional<Eigen::Vector3f> sensorMount; ///< as in FlightOptions
    ClipLimits clipLimits;                      ///< as in Flight
    /// Names, sizes and times of the model files in use, and of images that lend their calibration.
    std::string modelFiles;
    /// The cameras that fly together.
    std::vector<Rig> rigs;
    /// The light of the rigs that have a light sensor.
    std::vector<RigLight> lights;
    std::vector<Warning> warnings;

    [[nodiscard]] radiometry::CorrectionType typeOf(const InputImage& image) const {
        return settings.at(image.cameraId).correctionType;
    }
    /// Null = no model.
    [[nodiscard]] const radiometry::sequoia::ModelParameter*
    sequoiaModelOf(const InputImage& image) const;
    /// @throws Refusal when correcting this image would give numbers that only look right
    void check(const InputImage& image) const;
};

/// Decides, for every verb alike. @throws std::runtime_error when a folder of models cannot be read
Project decideProject(const Flight& flight, const ProjectOptions& options, Observer& observer);

/// Loads the models of the cameras' own bodies, and notes their files.
/// @param images at least one of each camera
/// @throws std::runtime_error when the folder cannot be read
void loadSequoiaModels(const CamerasData& cameras,
                       const std::vector<InputImage>& images,
                       const std::filesystem::path& folder,
                       Project& project,
                       Warnings& warnings);

/// Notes which files lend calibration, so that a change of them changes what is made with them.
void noteDonors(const exif::ReadOptions& options, Project& project);

} // namespace tessik::flight
