#pragma once

#include "platform/text/Text.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry {

/// Throws the library's error with the text that the arguments make, one after another.
template <typename... Args>
[[noreturn]] void fail(const Args&... args) {
    throw error(text::compose(args...).toStdString());
}

} // namespace tessik::radiometry
