#pragma once

#include "platform/export.h"

#include <string>

namespace tessik::target {

/// What a foreign code holds, for people, terminals and files of valid UTF-8: printable characters
/// stay, each byte of all else (control characters, marks that turn the direction of writing, bytes
/// that are no UTF-8) and the backslash are escaped: "\x1b". In quotes; of a long text, the first
/// characters and "...".
TESSIK_PLATFORM_EXPORT std::string shownText(const std::string& text);

} // namespace tessik::target
