#pragma once

#include <filesystem>

namespace tessik::flight::report {

/// Writes what a run left in its output folder (plan.json, corrections.jsonl, pictures of targets)
/// as one HTML page that needs no other file and no network. It appears whole or not at all.
/// @throws std::runtime_error that names the file which cannot be read or written
void writeReport(const std::filesystem::path& outputFolder,
                 const std::filesystem::path& reportFile);

} // namespace tessik::flight::report
