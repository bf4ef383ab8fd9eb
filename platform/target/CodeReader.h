#pragma once

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/target/Outline.h"

#include <string>
#include <vector>

namespace tessik::target {

/// A QR code in an image.
struct Code {
    std::string text; ///< as it stands in the code; any bytes
    /// Four: top left, bottom left, bottom right, top right of the code as it is printed.
    Corners corners;
};

/// The QR codes in a band of raw values, each text once. The band is tried with several stretches
/// to 8 bits and in several sizes; the first try that finds one decides.
TESSIK_PLATFORM_EXPORT std::vector<Code> readCodes(const BandMatrix& band);

} // namespace tessik::target
