#pragma once

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

/// What a run of `correct` left in its output folder, and the page that shows it.
namespace tessik::app::report {

/// Numbers that are absent are NaN.
constexpr double kAbsent = std::numeric_limits<double>::quiet_NaN();

enum class Status : std::uint8_t {
    NotReached, ///< planned, and nothing is recorded of it
    Done,
    Kept,
    Failed,
};

/// What is recorded of one image. Thousands are held at once: no more than the page needs.
struct ImageRecord {
    std::string path;
    std::string output; ///< relative to the output folder
    std::string failure;
    std::size_t camera = 0; ///< index in the plan's cameras
    Status status = Status::NotReached;
    double timeUnix = kAbsent;
    double latitudeDeg = kAbsent;
    double longitudeDeg = kAbsent;
    double maskedPixels = kAbsent;
    double pixels = kAbsent; ///< of all bands together
    float exposureSeconds = static_cast<float>(kAbsent);
    float iso = static_cast<float>(kAbsent);
    float fNumber = static_cast<float>(kAbsent);
    float sunElevationDeg = static_cast<float>(kAbsent);
    float sensorTiltDeg = static_cast<float>(kAbsent);
    std::vector<float> irradiance;          ///< one a band, or one for all
    std::vector<float> irradianceCorrected; ///< of a level sensor
    std::vector<std::uint16_t> steps;       ///< indices in RunFiles::stepNames

    [[nodiscard]] bool isCorrected() const {
        return status == Status::Done || status == Status::Kept;
    }
    [[nodiscard]] bool hasPosition() const {
        return !std::isnan(latitudeDeg) && !std::isnan(longitudeDeg);
    }
};

struct RunFiles {
    std::filesystem::path folder;
    /// Without its images; its failures are those of files that are not among them.
    nlohmann::json plan;
    std::vector<ImageRecord> images;
    std::vector<std::string> stepNames;
    std::size_t damagedLines = 0;
    std::size_t strangers = 0; ///< records of images that are not in the plan

    /// The plan's cameras; empty array where it names none.
    [[nodiscard]] const nlohmann::json& cameras() const;
};

/// Reads plan.json and corrections.jsonl of an output folder. Of several records of one image the
/// last one counts. Without corrections.jsonl no image has been reached.
/// @throws radiometry::error that names the file, when it cannot be read or the plan is not one
RunFiles readRunFiles(const std::filesystem::path& folder);

/// A number of a JSON object, or kAbsent where it is missing, null or none.
double numberIn(const nlohmann::json& object, const char* key);
/// A text of a JSON object, or an empty one.
std::string textIn(const nlohmann::json& object, const char* key);

} // namespace tessik::app::report
