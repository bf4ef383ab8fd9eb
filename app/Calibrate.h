#pragma once

#include "Project.h"
#include "Targets.h"
#include "platform/exif/ExifReader.h"
#include "platform/image/Region.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessik::app {

/// What the user knows of a target's reflectance: a band, by name or by wavelength in nm, and a
/// value.
using BandReflectance = std::pair<std::string, double>;

struct CalibrateOptions {
    std::vector<std::string> inputs;
    exif::ReadOptions metadata;
    ProjectOptions project;
    /// Empty = the target itself or the store tells.
    std::vector<BandReflectance> reflectance;
    /// The target whose reflectance is stored; absent = the one that is found.
    std::optional<TargetName> target;
    image::Ring region;             ///< empty = the target is looked for
    std::filesystem::path output;   ///< sensitivity file to write; empty = none
    std::filesystem::path pictures; ///< folder for pictures of the targets; empty = none
    int jobs = 1;
};

/// "NAME=VALUE"; none for anything else, or a value that is no reflectance.
std::optional<BandReflectance> parseBandReflectance(const std::string& text);

/// "x,y x,y x,y ..", at least 3 corners in px; empty for anything else. Closed.
image::Ring parseRegion(const std::string& text);

/// `radiometry calibrate`: sensitivity per camera and band from images of reflectance targets.
/// @return exit status
int calibrate(const CalibrateOptions& options);

} // namespace tessik::app
