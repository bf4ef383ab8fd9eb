#pragma once

#include "platform/camera/TargetDetector.h"
#include "platform/export.h"
#include "platform/image/BandMatrix.h"

#include <string>
#include <vector>

namespace tessik::target {

/// Writes a PNG file, at most 900 pixels wide, that shows where a target was found: the band as
/// grey, the outline of the code in blue, that of the region in orange, and a caption below.
/// @param caption lines of text; a line that is too long continues in the next, and what is not
/// ASCII shows as "?"
/// @throws image::Error when the file cannot be written; then there is none
TESSIK_READERS_EXPORT void writeTargetPicture(const std::string& path,
                                              const BandMatrix& band,
                                              const DetectedTarget& target,
                                              const std::vector<std::string>& caption);

} // namespace tessik::target
