#pragma once

#include "platform/export.h"

#include <string>

/// The EXIF tag "Exif.Image.ProcessingSoftware", which model parameter files use to say which
/// camera they belong to.
namespace tessik::exif {

/// The tag's text, trimmed; empty when the file has none. Thread safe. @throws Error as readTags
TESSIK_PLATFORM_EXPORT std::string readProcessingSoftware(const std::string& path);

/// Sets the tag in an existing TIFF or JPEG file; other tags stay. Thread safe.
/// @throws Error as writeTags
TESSIK_PLATFORM_EXPORT void writeProcessingSoftware(const std::string& path,
                                                    const std::string& text);

} // namespace tessik::exif
