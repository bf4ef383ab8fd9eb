#include "platform/text/Printable.h"

#include <array>
#include <cstddef>

namespace tessik::text {
namespace {

/// Bytes of the UTF-8 character that begins there; 0 = no character does.
/// Source: RFC 3629, section 4.
std::size_t characterLength(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const auto isTail = [&byte](std::size_t i) { return byte(i) >= 0x80 && byte(i) <= 0xBF; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return isTail(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isShortest = first != 0xE0 || byte(1) >= 0xA0;
        const bool isNoSurrogate = first != 0xED || byte(1) <= 0x9F;
        return isTail(1) && isTail(2) && isShortest && isNoSurrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool isShortest = first != 0xF0 || byte(1) >= 0x90;
        const bool isInRange = first != 0xF4 || byte(1) <= 0x8F;
        return isTail(1) && isTail(2) && isTail(3) && isShortest && isInRange ? 4 : 0;
    }
    return 0;
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) {
        return first < 0x20 || first == 0x7F;
    }
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0; // C1
}

void appendEscaped(char c, std::string& result) {
    constexpr std::array<char, 17> kDigits = {"0123456789abcdef"};
    const auto byte = static_cast<unsigned char>(c);
    result += "\\x";
    result += kDigits[byte / 16];
    result += kDigits[byte % 16];
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || isControl(character)) {
            for (const char c : character) {
                appendEscaped(c, result);
            }
        } else {
            result += character;
        }
        text.remove_prefix(character.size());
    }
    return result;
}

} // namespace tessik::text
