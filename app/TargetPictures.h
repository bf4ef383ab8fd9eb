#pragma once

#include "radiometry/TargetCalibration.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessik::app {

/// Draws each target, as a PNG file named after its image, into a folder, which is made if need be.
/// A picture that cannot be made is warned of.
/// @param folder empty = nothing is drawn
/// @return the path of each target's picture; empty = there is none
std::vector<std::string> drawTargets(const std::vector<radiometry::MeasuredTarget>& targets,
                                     const std::filesystem::path& folder);

} // namespace tessik::app
