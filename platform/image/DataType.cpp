#include "platform/image/DataType.h"

#include <limits>

namespace tessik {
namespace {

template <typename T>
std::pair<double, double> range() {
    return {static_cast<double>(std::numeric_limits<T>::lowest()),
            static_cast<double>(std::numeric_limits<T>::max())};
}

} // namespace

std::pair<double, double> minMaxForPixelType(DataType type) {
    switch (type) {
    case DataType::UInt8:
        return range<std::uint8_t>();
    case DataType::Int16:
        return range<std::int16_t>();
    case DataType::UInt16:
        return range<std::uint16_t>();
    case DataType::Int32:
        return range<std::int32_t>();
    case DataType::UInt32:
        return range<std::uint32_t>();
    case DataType::Float32:
        return range<float>();
    case DataType::Float64:
        return range<double>();
    case DataType::Unknown:
        break;
    }
    return {0.0, 0.0};
}

const char* toString(DataType type) {
    switch (type) {
    case DataType::UInt8:
        return "uint8";
    case DataType::Int16:
        return "int16";
    case DataType::UInt16:
        return "uint16";
    case DataType::Int32:
        return "int32";
    case DataType::UInt32:
        return "uint32";
    case DataType::Float32:
        return "float32";
    case DataType::Float64:
        return "float64";
    case DataType::Unknown:
        break;
    }
    return "unknown";
}

} // namespace tessik
