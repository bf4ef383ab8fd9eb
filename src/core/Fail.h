#pragma once

#include "platform/text/Text.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry {

/// Throws the library's error with the text that the arguments make, one after another.
template <typename... Args>
[[noreturn]] void fail(const Args&... args) {
    throw error(text::compose(args...).toStdString());
}

/// A size or a position as messages show it: "(rows,columns)".
inline QString pairText(qint64 row, qint64 column) {
    return QStringLiteral("(%1,%2)").arg(row).arg(column);
}

} // namespace tessik::radiometry
