#pragma once

#include "platform/export.h"

#include <Eigen/Core>

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::image {

/// One channel of a picture: rows x columns of 8-bit samples, row after row.
using ByteMatrix = Eigen::Matrix<std::uint8_t, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// The bytes of a PNG file of 1 (grey), 2 (grey, opacity), 3 (RGB) or 4 (RGB, opacity) channels.
/// @throws Error when the channels are missing, too many, empty or differ in size
TESSIK_PLATFORM_EXPORT std::string encodePng(const std::vector<ByteMatrix>& channels);

/// A picture for people: red, green and blue of each pixel, row after row.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb; ///< 3 x width x height
};

/// Writes a PNG file, which appears only whole. @throws Error
TESSIK_PLATFORM_EXPORT void writePng(const std::string& path, const Picture& picture);

} // namespace tessik::image
