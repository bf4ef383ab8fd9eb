#pragma once

#include "Console.h"
#include "Inputs.h"
#include "Project.h"
#include "TargetRecord.h"
#include "platform/exif/ExifReader.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The decisions that concern a whole flight, taken once and kept as a file that people can read.
namespace tessik::app {

/// What the user asked for.
struct PlanOptions {
    std::vector<std::string> inputs;
    /// Its images are no inputs; empty = none.
    std::filesystem::path excluded;
    ProjectOptions project;
    exif::ReadOptions metadata;
    /// "auto" = targets are looked for; "none" = neither targets nor a maker's constant are used;
    /// else a file of sensitivities.
    std::string targets = "auto";
    /// Folder for the pictures of targets; empty = none are made.
    std::filesystem::path pictures;
    int jobs = 1;
};

struct PlannedImage {
    std::string path;   ///< as the user gave it
    std::string output; ///< relative to the output folder
    std::uint64_t cameraId = 0;
    /// Reading of the light sensor to use in place of the file's, one a band; empty = the file's.
    std::vector<double> sunIrradiance{};
};

/// Where a camera's sensitivity comes from.
struct SensitivitySource {
    std::string kind; ///< "target", "maker", "file"; empty = there is none
    std::string text; ///< a line for people
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
    SensitivitySource sensitivitySource;
    /// Where samples clip: a value in the first row, DN, and its change with the row; absent = not
    /// known.
    std::optional<ClipLine> clipsAt;
    std::string unit; ///< of the corrected values; empty = proportional to radiance or reflectance
};

struct PlanFailure {
    std::string path;
    std::string reason;
};

struct Plan {
    static constexpr int kSchemaVersion = 1;

    std::string libraryVersion;
    // As asked for
    std::string type = "auto";
    std::string sunlight = "auto";
    std::string targetsAsked = "auto";
    std::filesystem::path sequoiaCalibration; ///< empty = none
    /// Of cameras that write local time: given, or told by a position.
    std::optional<double> utcOffsetHours;
    /// Images that lend their calibration; null = none.
    std::shared_ptr<const exif::CalibrationDonors> donors;

    [[nodiscard]] exif::ReadOptions readOptions() const { return {utcOffsetHours, donors}; }

    // As decided
    Project project;
    std::vector<PlannedCamera> cameras;
    std::vector<TargetRecord> targets; ///< that were found, used or not
    std::vector<PlannedImage> images;
    std::vector<PlanFailure> failures; ///< inputs that cannot be used
    std::vector<Warning> warnings;
};

/// Reads the metadata of all inputs and decides. Warnings are said; failures are not.
/// @throws std::runtime_error when nothing can be decided
Plan makePlan(const PlanOptions& options);

/// Writes a plan; it appears whole or not at all. @throws image::Error
void writePlan(const Plan& plan, const std::filesystem::path& file);

/// Reads a plan and loads the model files that it names.
/// @throws std::runtime_error that names the file and the reason
Plan readPlan(const std::filesystem::path& file);

/// `radiometry plan`. @return exit status
int plan(const PlanOptions& options, const std::filesystem::path& file);

} // namespace tessik::app
