#pragma once

#include "simulate/Camera.h"

namespace tessik::simulate {

/// What the second generation of MicaSense's light sensor adds to a file: the reading as it was
/// measured, tilted, in uW/cm2/nm; the direct light on a surface that faces the sun and the
/// scattered light; from these and the sun's height what a level surface receives; and the
/// sensor's pose.
std::vector<exif::NewTag> dls2Tags(const Band& band, const Shot& shot);

} // namespace tessik::simulate
