#pragma once

#include "platform/export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::image {

/// A picture for people: red, green and blue of each pixel, row after row.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb; ///< 3 x width x height
};

/// Writes a PNG file, which appears only whole. @throws Error
TESSIK_PLATFORM_EXPORT void writePng(const std::string& path, const Picture& picture);

} // namespace tessik::image
