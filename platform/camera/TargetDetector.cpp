#include "platform/camera/TargetDetector.h"

namespace tessik {

std::optional<TargetType> targetTypeFromText(const QString& name) {
    for (const TargetType type :
         {TargetType::Tags12, TargetType::Tags6, TargetType::AirCalib, TargetType::Unknown}) {
        if (text::toString(type) == name) {
            return type;
        }
    }
    return std::nullopt;
}

QString text::toString(TargetType type) {
    switch (type) {
    case TargetType::Tags12:
        return QStringLiteral("tags_12");
    case TargetType::Tags6:
        return QStringLiteral("tags_6");
    case TargetType::AirCalib:
        return QStringLiteral("AirCalib");
    case TargetType::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

} // namespace tessik
