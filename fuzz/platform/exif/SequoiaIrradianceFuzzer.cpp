#include "platform/exif/cameras/SequoiaIrradiance.h"

#include "Input.h"
#include "platform/exif/Tags.h"

#include <cmath>

// The bytes are a line of calibration numbers, a line with the image's time in seconds, and the
// list.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessik;
    std::string_view text = fuzz::textOf(data, size);
    const std::vector<double> calibration = exif::parseNumbers({fuzz::takeLine(text)});
    const std::optional<double> seconds = exif::parseNumber(fuzz::takeLine(text));
    const exif::SequoiaIrradiance sun =
        exif::decodeSequoiaIrradiance(std::string(text), calibration, seconds);
    if (sun.irradiance) {
        fuzz::require(std::isfinite(*sun.irradiance) && *sun.irradiance > 0.0,
                      "a reading is positive and finite");
    }
    if (sun.yawPitchRoll) {
        fuzz::require(sun.irradiance.has_value() && sun.yawPitchRoll->allFinite(),
                      "an orientation is finite and comes with a reading");
    }
    const bool isBlank = text.find_first_not_of(" \t\r\n") == std::string_view::npos;
    fuzz::require(isBlank || !sun.reason.empty() || (sun.irradiance && sun.yawPitchRoll),
                  "what is absent has a reason");
    return 0;
}
