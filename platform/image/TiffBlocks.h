#pragma once

/// @file
/// Where the pixels of a TIFF file are, in its first directory. Files are given as their
/// bytes; they hold no pixels yet. Programs that edit the metadata of such a file may lose the
/// lists of offsets, and a later reader or writer of the pixels would believe what stands there.
/// All throw Error when the file is damaged or not a classic TIFF. bench/flight measures what it is
/// worth to write the pixels past GDAL.

#include <cstdint>
#include <string>

namespace tessik::image {

/// States for all strips or tiles that they are not written yet: offset 0.
void clearBlockOffsets(std::string& file);

/// States that the strips follow the last of the file's bytes, one after the other.
/// @param stripBytes of each strip but the last
/// @param pixelBytes of all strips
/// @throws Error when the directory has another number of strips, or the file would be too large
void placeStrips(std::string& file, std::uint64_t stripBytes, std::uint64_t pixelBytes);

} // namespace tessik::image
