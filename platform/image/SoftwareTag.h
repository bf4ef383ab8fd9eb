#pragma once

#include "platform/export.h"

#include <string>

namespace tessik::image {

/// The TIFF tag ProcessingSoftware (0x000b), which model parameter files use to say which camera
/// they belong to: its text, trimmed; empty when the file has none. Thread safe. Source: Exif 2.3
/// as extended by the DNG/TIFF-EP tag registry; type ASCII, first directory.
/// @throws Error when the file is not a readable TIFF
TESSIK_PLATFORM_EXPORT std::string readProcessingSoftware(const std::string& path);

/// Sets the tag in an existing TIFF file; other tags and the pixels stay. Thread safe.
/// @throws Error when the file is not a TIFF file, or cannot be written
TESSIK_PLATFORM_EXPORT void writeProcessingSoftware(const std::string& path,
                                                    const std::string& text);

} // namespace tessik::image
