#pragma once

#include "platform/export.h"

#include <string>
#include <string_view>

namespace tessik::text {

/// A text that is safe to show on a terminal and to put into a file of valid UTF-8: each byte of
/// what cannot be printed (control characters, marks that turn the direction of writing, bytes that
/// are not UTF-8) becomes "\\x1b" and the like. What metadata, codes and file names hold is
/// anybody's.
TESSIK_PLATFORM_EXPORT std::string printable(std::string_view text);

/// As printable, in quotes, with the backslash escaped as well; of a long text, the first
/// characters and "...".
TESSIK_PLATFORM_EXPORT std::string quoted(std::string_view text);

} // namespace tessik::text
