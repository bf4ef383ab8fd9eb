#pragma once

#include "platform/export.h"

#include <cstdint>
#include <utility>

namespace tessik {

/// Type of the samples of a stored image.
enum class DataType : std::int32_t {
    Unknown = 0,
    UInt8 = 3,
    Int16 = 7,
    UInt16 = 8,
    Int32 = 9,
    UInt32 = 10,
    Float32 = 11,
    Float64 = 12,
};

/// Smallest and largest value that the type can hold; (0, 0) for Unknown.
TESSIK_PLATFORM_EXPORT std::pair<double, double> minMaxForPixelType(DataType type);

/// "uint16" and the like.
TESSIK_PLATFORM_EXPORT const char* toString(DataType type);

} // namespace tessik
