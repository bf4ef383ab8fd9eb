#include "ExampleCamera.h"

#include <cmath>

namespace tessik::exif {
namespace {

bool matchesExample(const Tags& tags) {
    return tags.exifText("Exif.Image.Make") == "Example";
}

void readExample(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    if (exif.pixelType == DataType::UInt16) {
        exif.storedRange = {0.0, 16380.0}; // 12 bits, shifted left by 2
    }
    const auto gain = tags.xmpNumber("Example", "Gain");
    if (!gain || !std::isfinite(*gain) || *gain <= 0.0) {
        metadata.warnings.emplace_back("Gain is missing: not corrected unless asked for");
        exif.radiometricIndicator = 0;
        return;
    }
    exif.sensitivity = {*gain};
    exif.iso = 1; // the EXIF value is not the gain
}

} // namespace

const Dialect kExample = {&matchesExample, &readExample, kUtcClock};

} // namespace tessik::exif
