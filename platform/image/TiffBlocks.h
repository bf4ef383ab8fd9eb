#pragma once

#include <string>

namespace tessik::image {

/// States for all strips or tiles of a TIFF file's first directory that they are not written yet:
/// offset 0. Programs that edit the metadata of a file without pixels may lose the list of offsets,
/// and a later writer of the pixels would believe what stands there.
/// @throws Error when the file cannot be read or written, or is no classic TIFF
void clearBlockOffsets(const std::string& path);

} // namespace tessik::image
