#include "platform/target/TargetType.h"

namespace tessik::text {

QString toString(TargetType type) {
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

} // namespace tessik::text
