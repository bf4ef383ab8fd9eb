#include "platform/text/Printable.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <array>
#include <cstddef>

namespace tessik::text {
namespace {

/// Bytes of the UTF-8 character that a byte begins; 1 for bytes that begin none.
std::size_t lengthAfter(unsigned char first) {
    constexpr std::array<unsigned, 5> kFirstOf = {0, 0, 0xC2, 0xE0, 0xF0}; // of each length
    std::size_t length = kFirstOf.size() - 1;
    while (length > 1 && first < kFirstOf[length]) {
        --length;
    }
    return length;
}

bool isPrintable(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F;
    }
    // What is not UTF-8 is replaced, and comes back as other bytes.
    const QString decoded = QString::fromUtf8(character.data(), static_cast<int>(character.size()));
    if (decoded.toUtf8().toStdString() != character) {
        return false;
    }
    const QVector<uint> codes = decoded.toUcs4();
    return codes.size() == 1 && QChar::isPrint(codes[0]) &&
           QChar::category(codes[0]) != QChar::Separator_Line &&
           QChar::category(codes[0]) != QChar::Separator_Paragraph;
}

/// Takes the first character of a text away and appends it to another one, or its first byte,
/// escaped.
void moveFirst(std::string_view& text, bool isBackslashEscaped, std::string& result) {
    const std::string_view character =
        text.substr(0, lengthAfter(static_cast<unsigned char>(text.front())));
    if (isPrintable(character) && !(isBackslashEscaped && character == "\\")) {
        result += character;
        text.remove_prefix(character.size());
        return;
    }
    constexpr std::array<char, 17> kDigits = {"0123456789abcdef"};
    const auto byte = static_cast<unsigned char>(text.front());
    result.append("\\x").append({kDigits[byte / 16], kDigits[byte % 16]});
    text.remove_prefix(1);
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        moveFirst(text, false, result);
    }
    return result;
}

std::string quoted(std::string_view text) {
    constexpr int kMost = 40;
    std::string result = "\"";
    for (int count = 0; !text.empty(); ++count) {
        if (count == kMost) {
            return result + "...\"";
        }
        moveFirst(text, true, result);
    }
    return result + "\"";
}

} // namespace tessik::text
