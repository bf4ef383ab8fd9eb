#pragma once

/// @file
/// What speaks for the corrected values and against them: the sky, what independent witnesses of
/// the light say, how neighbouring images agree, and the uncertainty. Older plans do not tell.

#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

namespace tessik::flight::report {

/// The state of the sky over each rig: "cameras" [names] or [] for all of the flight, "state",
/// "reason", "type_reason", "jitter" {"raw", "steady"} as shares of the reading or null,
/// "mount_deg" (how the light sensor leans [forward, to the right]) or null, "choice".
nlohmann::json skyOf(const RunFiles& run);

/// Irradiance by the clear sky, the light sensor and the panel, W/m2/nm, and their ratios; by
/// wavelength, then by time. Unless "is_absolute", the sensor's is in a unit of its own.
nlohmann::json witnessesOf(const RunFiles& run);

/// How the brightness of neighbouring images differs where they overlap, shares: of the flight, and
/// of its bands by wavelength. Null when it was not measured.
nlohmann::json overlapsOf(const RunFiles& run);

/// One entry a band, by wavelength: relative standard uncertainties, their terms, and what they do
/// not include.
nlohmann::json uncertaintyOf(const RunFiles& run);

} // namespace tessik::flight::report
