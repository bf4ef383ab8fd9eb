#pragma once

#include "platform/camera/TargetDetector.h"
#include "platform/panel/Levels.h"

#include <string>
#include <vector>

namespace tessik::target {

/// A QR code in an image.
struct Code {
    std::string text; ///< as it stands in the code; any bytes
    /// Four: top left, bottom left, bottom right, top right of the code as it is printed.
    Corners corners;
};

/// The QR codes that stand in a picture of 8 bits; their corners, in px of it, are whole numbers.
std::vector<Code> decode(const Bytes& picture);

} // namespace tessik::target
