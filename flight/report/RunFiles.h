#pragma once

/// @file
/// What a run left in its output folder, for the page that shows it.

#include "flight/run/Records.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace tessik::flight::report {

/// An image of the plan, with the last of its records.
struct ImageRecord : ReadRecord {
    std::string output;     ///< relative to the output folder
    std::size_t camera = 0; ///< index in the plan's cameras
};

struct RunFiles {
    std::filesystem::path folder;
    /// Without its images; its failures are those of files that are not among them. What only
    /// explains (the sky, witnesses of the light, uncertainties) is as written, in any shape.
    nlohmann::json plan;
    nlohmann::json overlaps;     ///< as written, in any shape; null when they were not measured
    std::string overlapsFailure; ///< why the file of them is left out; empty = it is not
    std::vector<ImageRecord> images;
    std::size_t damagedLines = 0;
    std::size_t strayRecords = 0; ///< of images that are not in the plan

    [[nodiscard]] const nlohmann::json& cameras() const { return plan.at("cameras"); }
};

/// Reads the plan and the records of an output folder. Of several records of one image the last one
/// counts. Without a record an image has not been reached.
/// @throws std::runtime_error that names the file, when it cannot be read or the plan is not one
RunFiles readRunFiles(const std::filesystem::path& folder);

/// A number of a JSON object, or kAbsent where it is missing or null.
double numberIn(const nlohmann::json& object, const char* key);
/// Null for a number that is not finite.
nlohmann::json orNull(double value);
/// A text of a JSON object, or an empty one.
std::string textIn(const nlohmann::json& object, const char* key);

} // namespace tessik::flight::report
