#pragma once

#include "platform/camera/TargetDetector.h"

#include <QtCore/QString>

#include <optional>
#include <string>

namespace tessik::flight {

/// A physical target, as users name it: TYPE/ID.
struct TargetName {
    TargetType type = TargetType::Unknown;
    QString id;

    /// Absent where the type is not tags_12, tags_6, AirCalib or unknown, or the identifier is
    /// empty.
    static std::optional<TargetName> fromText(const std::string& text);
    [[nodiscard]] std::string text() const;
};

/// A reflectance that a user states: more than 0, at most 1. None for anything else.
std::optional<double> parseReflectance(const std::string& text);

} // namespace tessik::flight
