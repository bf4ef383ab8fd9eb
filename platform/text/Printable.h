#pragma once

#include "platform/export.h"

#include <string>
#include <string_view>

namespace tessik::text {

/// A text that is safe to show on a terminal: control characters (C0, DEL and, in UTF-8, C1) and
/// bytes that are not UTF-8 become "\\x1b" and the like. What metadata, codes and file names hold
/// is anybody's.
TESSIK_PLATFORM_EXPORT std::string printable(std::string_view text);

} // namespace tessik::text
