#pragma once

/// @file
/// Composition of message texts.

#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <string>

namespace tessik::text {

namespace detail {
template <typename T>
void put(QTextStream& stream, const T& value) {
    stream << value;
}
inline void put(QTextStream& stream, const std::string& value) {
    stream << QString::fromStdString(value);
}
inline void put(QTextStream& stream, std::size_t value) {
    stream << static_cast<quint64>(value);
}
} // namespace detail

/// The arguments one after another, numbers in the text stream's default formatting.
template <typename... Args>
QString compose(const Args&... args) {
    QString text;
    QTextStream stream(&text);
    (detail::put(stream, args), ...);
    stream.flush();
    return text;
}

} // namespace tessik::text
