#pragma once

#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

namespace tessik::flight::report {

/// What the plan says of a camera, and what came of its images.
/// @param c index of the camera in the plan
nlohmann::json cameraSummary(const RunFiles& run, std::size_t c);

/// Adds what became of the images ("totals"), and "failures" and "warnings": each text once, with
/// how often it was said and the first of the paths that it was said of.
void addProblems(const RunFiles& run, nlohmann::json& page);

/// The plan's targets, those used first, by wavelength. "picture" is a data: URI or null;
/// histograms are one a band, or no histogram.
nlohmann::json targetsOf(const RunFiles& run);

} // namespace tessik::flight::report
