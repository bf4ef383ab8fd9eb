#include "radiometry/config/Gamma.h"

#include "platform/camera/ExifInfo.h"
#include "platform/camera/Gamma.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace tessik::radiometry {

bool isGammaTransformationApplied(const ExifInfo& exif) {
    const bool isUnsignedInteger = exif.pixelType == DataType::UInt8 ||
                                   exif.pixelType == DataType::UInt16 ||
                                   exif.pixelType == DataType::UInt32;
    return isUnsignedInteger && exif.gamma.size() == exif.bandCount;
}

LUT<unsigned short, double> makeGammaLut(const gamma_t& gamma, double minValue, double maxValue) {
    const auto last = static_cast<std::uint16_t>(static_cast<std::uint64_t>(maxValue));
    const double scale = 1.0 / (maxValue - minValue);
    std::vector<double> table(static_cast<std::size_t>(last) + 1);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = gamma.transform((static_cast<double>(i) - minValue) * scale);
    }
    return LUT<unsigned short, double>(std::move(table));
}

} // namespace tessik::radiometry
