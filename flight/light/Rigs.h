#pragma once

#include "platform/camera/InputImage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::flight {

/// The cameras that fly as one body, by their identifiers, in ascending order.
using Rig = std::vector<std::uint64_t>;

/// Every camera of the images that can be used, in one rig each: cameras that share a capture, and
/// cameras of one body where captures are not named. Thermal cameras, whose values depend on no
/// light, have no part in it.
std::vector<Rig> rigsOf(const std::vector<InputImage>& images);

/// What the images of one capture have in common: its identifier. Cameras that do not name captures
/// have one for all their images.
std::string captureOf(const InputImage& image);

} // namespace tessik::flight
