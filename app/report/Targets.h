#pragma once

#include "report/RunFiles.h"

#include <nlohmann/json.hpp>

namespace tessik::app::report {

/// The plan's targets, those used first. "picture" is a data: URI or null; histograms are one a
/// band or none.
nlohmann::json targetsOf(const RunFiles& run);

} // namespace tessik::app::report
