#include "flight/target/TargetName.h"

#include "platform/exif/Tags.h"

namespace tessik::flight {

std::optional<TargetName> TargetName::fromText(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos || slash + 1 == text.size()) {
        return std::nullopt;
    }
    const auto type = targetTypeFromText(QString::fromStdString(text.substr(0, slash)));
    if (!type) {
        return std::nullopt;
    }
    return TargetName{*type, QString::fromStdString(text.substr(slash + 1))};
}

std::string TargetName::text() const {
    return (text::toString(type) + "/" + id).toStdString();
}

std::optional<double> parseReflectance(const std::string& text) {
    const auto value = exif::parseNumber(text);
    return value && *value > 0.0 && *value <= 1.0 ? value : std::nullopt;
}

} // namespace tessik::flight
