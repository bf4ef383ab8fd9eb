#pragma once

/// @file
/// The decisions that concern a whole flight, taken once and kept as a file that people can read.

#include "flight/light/Project.h"
#include "flight/target/Sensitivities.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

/// What the user asked for.
struct PlanOptions {
    FlightOptions flight;
    ProjectOptions project;
    /// "auto" = targets are looked for; "none" = neither targets nor a maker's constant are used;
    /// else a file of sensitivities.
    std::string targets = "auto";
};

/// All that decides how the images of a flight are corrected.
struct Decisions {
    Project project;
    SensitivityByCamera sensitivities;

    /// At the time of the image, where it changes over the flight.
    [[nodiscard]] std::vector<double> sensitivityOf(const InputImage& image) const;
    /// Text that changes when a decision does that changes the pixels of a camera's images.
    [[nodiscard]] std::string fingerprint(std::uint64_t cameraId) const;
};

struct PlannedImage {
    std::string path;   ///< as the user gave it
    std::string output; ///< relative to the output folder
    std::uint64_t cameraId = 0;
    /// Reading of the light sensor to use in place of the file's, one a band; empty = the file's.
    std::vector<double> sunIrradiance{};
};

struct PlannedCamera {
    std::uint64_t id = 0;
    std::string name;
    std::string make;
    std::string model;
    std::uint64_t width = 0;            ///< px
    std::uint64_t height = 0;           ///< px
    std::vector<std::string> bandNames; ///< one a band, or empty
    bands_t bands;
    std::size_t imageCount = 0;
    /// What images of this camera lack, by richer type.
    std::map<std::string, std::vector<std::string>> missing;
    /// Where samples clip: a value in the first row, DN, and its change with the row; absent = not
    /// known.
    std::optional<ClipLine> clipsAt;
    std::string unit; ///< of the corrected values; empty = proportional to radiance or reflectance
};

/// Unit of the values of a thermal image, as UDUNITS names it.
constexpr auto kCelsius = "degree_Celsius";

struct Plan {
    static constexpr int kSchemaVersion = 1;

    std::string libraryVersion;
    // As asked for
    std::string type = "auto";
    std::string sunlight = "auto";
    std::string targetsAsked = "auto";
    std::string light = "steady";             ///< or "raw"
    std::filesystem::path sequoiaCalibration; ///< empty = no models
    std::vector<std::string> calibrationFrom; ///< images that lend their calibration
    /// To read the images with. Of a plan that was read without its models, without donors.
    exif::ReadOptions metadata;

    // As decided
    Decisions decisions;
    std::vector<PlannedCamera> cameras;
    std::vector<TargetRecord> targets; ///< that were found, used or not
    std::vector<Witness> witnesses;    ///< of the light at the targets
    UncertaintyByCamera uncertainties; ///< of reflectance, for the cameras that have a sensitivity
    std::vector<PlannedImage> images;
    std::vector<Failure> failures; ///< inputs that cannot be used
    std::vector<Warning> warnings;
};

/// Reads the metadata of all inputs and decides. Writes nothing.
/// @throws std::runtime_error when nothing can be decided
Plan makePlan(const PlanOptions& options, Observer& observer);

} // namespace tessik::flight
