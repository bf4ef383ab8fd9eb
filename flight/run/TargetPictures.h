#pragma once

#include "flight/Observer.h"
#include "flight/target/TargetRecord.h"

#include <filesystem>
#include <vector>

namespace tessik::flight {

/// Draws a picture of each target into a folder, for people to look at before they trust: the
/// image, the outlines of code and region, and what was measured. The records then say where it
/// lies. A picture that cannot be made is a warning.
/// @param relativeTo the folder that paths in the records start from
void drawTargets(const std::filesystem::path& folder,
                 const std::filesystem::path& relativeTo,
                 std::vector<TargetRecord>& records,
                 Observer& observer);

} // namespace tessik::flight
