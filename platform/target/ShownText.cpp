#include "platform/target/ShownText.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <array>
#include <cstddef>
#include <cstdio>

namespace tessik::target {
namespace {

/// Of the UTF-8 character that a byte begins; 1 for bytes that begin none.
std::size_t lengthAfter(unsigned char first) {
    constexpr std::array<unsigned, 5> kFirstOf = {0, 0, 0xC2, 0xE0, 0xF0}; // of each length
    std::size_t length = kFirstOf.size() - 1;
    while (length > 1 && first < kFirstOf[length]) {
        --length;
    }
    return length;
}

bool isPrintable(const std::string& bytes) {
    // What is no UTF-8 is replaced, and comes back as other bytes.
    const QString decoded = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    if (decoded.toUtf8().toStdString() != bytes || decoded == QStringLiteral("\\")) {
        return false;
    }
    const QVector<uint> codes = decoded.toUcs4();
    return codes.size() == 1 && QChar::isPrint(codes[0]) &&
           QChar::category(codes[0]) != QChar::Separator_Line &&
           QChar::category(codes[0]) != QChar::Separator_Paragraph;
}

std::string escaped(char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(),
                  text.size(),
                  "\\x%02x",
                  static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text.data();
}

} // namespace

std::string shownText(const std::string& text) {
    constexpr int kMost = 40;
    std::string result = "\"";
    int count = 0;
    for (std::size_t at = 0; at < text.size(); ++count) {
        if (count == kMost) {
            return result + "...\"";
        }
        const std::string character =
            text.substr(at, lengthAfter(static_cast<unsigned char>(text[at])));
        if (isPrintable(character)) {
            result += character;
            at += character.size();
        } else {
            result += escaped(text[at]);
            ++at;
        }
    }
    return result + "\"";
}

} // namespace tessik::target
