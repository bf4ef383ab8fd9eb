#pragma once

#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

namespace tessik::flight::report {

/// The plan's targets, those used first. "picture" is a data: URI or null; histograms are one a
/// band, or no histogram.
nlohmann::json targetsOf(const RunFiles& run);

} // namespace tessik::flight::report
