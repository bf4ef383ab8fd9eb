#pragma once

#include "platform/export.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace tessik {

/// Kinds of reflectance targets. Every other value is an unknown kind; panels with a QR code are
/// of none of the named ones.
enum class TargetType : std::int32_t {
    Tags12 = 0,
    Tags6 = 1,
    AirCalib = 2,
    Unknown = 3,
};

/// The type that a text of text::toString names; none for any other text.
TESSIK_PLATFORM_EXPORT std::optional<TargetType> targetTypeFromText(const QString& name);

namespace text {
/// "tags_12", "tags_6", "AirCalib", "unknown".
TESSIK_PLATFORM_EXPORT QString toString(TargetType type);
} // namespace text

} // namespace tessik
