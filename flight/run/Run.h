#pragma once

#include "flight/plan/Plan.h"
#include "flight/run/PixelWatcher.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

/// One of several disjoint parts of a plan, so that machines can share a flight.
struct Part {
    int index = 1; ///< from 1
    int count = 1;

    /// "K/N"; absent for anything else.
    static std::optional<Part> fromText(const std::string& text);
};

struct RunOptions {
    std::filesystem::path outputFolder;
    Part part;
    bool overwrite = false;                   ///< outputs that are there already
    std::vector<std::string> creationOptions; ///< of GeoTIFF
    int jobs = 1;
    PixelWatcher* watcher = nullptr; ///< sees images that are corrected; null = nobody does
};

/// What came of the images.
struct RunSummary {
    std::int64_t done = 0;
    std::int64_t kept = 0;
    std::int64_t failed = 0;
    std::int64_t maskedPixels = 0;
    bool isInterrupted = false;
};

/// Makes an output folder if need be. It must take files: better known now than after the first
/// image. @throws std::runtime_error that names the folder
void prepareOutputFolder(const std::filesystem::path& folder);

/// Corrects the images of a plan, which holds its models, into a folder, and records what was done
/// to each. Outputs that exist and were made in the same way are kept. The first part
/// reports and counts the plan's own failures.
/// @throws std::runtime_error when the record cannot be begun
RunSummary run(const Plan& plan, const RunOptions& options, Observer& observer);

} // namespace tessik::flight
