#pragma once

/// @file
/// Correction types and what they lack, as the words of files and options.

#include "radiometry/core/Types.h"

#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

/// Above the named types: as the sun-angle type, with the irradiance sensor's own yaw, pitch and
/// roll instead of its orientation relative to the camera.
constexpr auto kSunAngleAbsolute = static_cast<radiometry::CorrectionType>(4);

/// The types that a word names, from the least to the richest.
const std::vector<radiometry::CorrectionType>& correctionTypes();

/// "none", "camera", "irradiance", "sun-angle", "sun-angle-absolute".
std::string wordOf(radiometry::CorrectionType type);

/// The reverse; empty for any other word.
std::optional<radiometry::CorrectionType> typeOf(const std::string& word);

/// A word for each flag: "sun-irradiance", "sun-irradiance-orientation", "capture-time".
std::vector<std::string> wordsOf(radiometry::ImageCorrectionError missing);

} // namespace tessik::flight
