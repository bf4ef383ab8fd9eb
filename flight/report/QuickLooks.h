#pragma once

#include "flight/report/Curves.h"
#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace tessik::flight::report {

/// Bands that have pictures: the page is one file.
constexpr std::size_t kMaxQuickLooks = 16;

/// A data: URI of these bytes of a PNG file.
std::string pngUri(const std::string& bytes);

/// Small pictures of each band of each camera: the same captures, spread over the flight, raw and
/// corrected, each row on one grey scale. So the drift of the light is seen, and seen to go.
/// One object a band, by wavelength: "label", "tiles" [{"time_unix", "file", "before", "after"}]
/// with data: URIs or null, "before_scale" and "after_scale" [black, white] or null. An image that
/// cannot be read is a null.
nlohmann::json quickLooks(const RunFiles& run,
                          const Timeline& timeline,
                          const std::vector<std::vector<std::string>>& bandLabels);

} // namespace tessik::flight::report
