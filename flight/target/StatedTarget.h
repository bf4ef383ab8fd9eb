#pragma once

/// @file
/// What the user states of a reflectance target, in place of what is found.

#include "flight/target/TargetName.h"
#include "platform/camera/InputImage.h"
#include "platform/image/Region.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessik::flight {

/// A band, by name or by wavelength in nm, and its reflectance.
using BandReflectance = std::pair<std::string, double>;

struct StatedTarget {
    /// Empty = the target itself or the store says it.
    std::vector<BandReflectance> reflectance;
    /// The target whose reflectance is stored; absent = the one that is found.
    std::optional<TargetName> name;
    /// The target's place in each image; empty = it is looked for.
    image::Ring region;
};

/// "NAME=VALUE"; absent for anything else, or a value that is not a reflectance.
std::optional<BandReflectance> parseBandReflectance(const std::string& text);

/// "x,y x,y x,y ..", at least 3 corners in px; empty for anything else. Closed.
image::Ring parseRegion(const std::string& text);

/// @throws std::runtime_error when the stated reflectance concerns no band of any of these images,
/// or names a target of which nothing is stored for one: a typing error would go unnoticed
void verify(const StatedTarget& stated, const std::vector<InputImage>& images);

/// One reflectance a band of the image, NaN where the user states nothing.
/// @throws Refusal when the target found is not the one that is named
std::vector<double> reflectanceOf(const StatedTarget& stated,
                                  const InputImage& image,
                                  const target::DetectedTarget& found);

/// Finds the stated region in every image.
std::unique_ptr<target::ITargetDetector> detectorOf(const StatedTarget& stated);

} // namespace tessik::flight
