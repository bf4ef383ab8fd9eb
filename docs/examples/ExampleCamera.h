#pragma once

#include "platform/exif/cameras/Dialects.h"

namespace tessik::exif {

extern const Dialect kExample;

} // namespace tessik::exif
