#include "platform/exif/Tags.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>

namespace tessik::exif {
namespace {

bool isSeparator(char c) {
    return c == ',' || std::isspace(static_cast<unsigned char>(c)) != 0;
}

/// Under these prefixes a name means what their owner says (DLS:Yaw is in radians, and not the
/// camera's), so they never stand in for another prefix.
bool hasMeaningOfItsOwn(const std::string& prefix) {
    constexpr std::array<std::string_view, 9> kOwn = {
        "DLS", "MicaSense", "Sentera", "drone-dji", "crs", "dc", "exif", "tiff", "xmp"};
    return std::find(kOwn.begin(), kOwn.end(), prefix) != kOwn.end();
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return text;
}

std::string_view trim(std::string_view text) {
    const auto blank = [](char c) {
        return std::isspace(static_cast<unsigned char>(c)) || c == '\0';
    };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::optional<double> parseDecimal(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || failure != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<double> parseNumber(std::string_view text) {
    text = trim(text);
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) {
        return parseDecimal(text);
    }
    const auto numerator = parseDecimal(text.substr(0, slash));
    const auto denominator = parseDecimal(text.substr(slash + 1));
    if (!numerator || !denominator) {
        return std::nullopt;
    }
    if (*denominator == 0.0) {
        return *numerator == 0.0 ? std::numeric_limits<double>::quiet_NaN()
                                 : std::numeric_limits<double>::infinity();
    }
    return *numerator / *denominator;
}

std::vector<double> parseNumbers(const std::vector<std::string>& texts) {
    std::vector<double> numbers;
    for (const std::string& text : texts) {
        auto begin = text.begin();
        while (true) {
            begin = std::find_if_not(begin, text.end(), isSeparator);
            if (begin == text.end()) {
                break;
            }
            const auto end = std::find_if(begin, text.end(), isSeparator);
            const auto number =
                parseNumber(std::string_view(&*begin, static_cast<std::size_t>(end - begin)));
            if (!number) {
                return {};
            }
            numbers.push_back(*number);
            begin = end;
        }
    }
    return numbers;
}

std::vector<std::string> splitList(std::string_view text) {
    std::vector<std::string> pieces;
    while (true) {
        const auto comma = text.find(',');
        pieces.emplace_back(trim(text.substr(0, comma)));
        if (comma == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(comma + 1);
    }
}

void Tags::addExif(const std::string& key, Value value) {
    m_exif[key] = std::move(value);
}

void Tags::addXmp(const std::string& prefix, const std::string& name, Value value) {
    m_xmp[lower(name)].emplace_back(prefix, std::move(value));
}

const Tags::Value* Tags::exif(const std::string& key) const {
    const auto found = m_exif.find(key);
    return found == m_exif.end() ? nullptr : &found->second;
}

std::string Tags::exifText(const std::string& key) const {
    const Value* value = exif(key);
    return value == nullptr || value->empty() ? std::string() : std::string(trim(value->front()));
}

std::optional<double> Tags::exifNumber(const std::string& key) const {
    const Value* value = exif(key);
    return value == nullptr || value->empty() ? std::nullopt : parseNumber(value->front());
}

std::vector<double> Tags::exifNumbers(const std::string& key) const {
    const Value* value = exif(key);
    return value == nullptr ? std::vector<double>() : parseNumbers(*value);
}

const Tags::Value* Tags::xmp(const std::string& prefix, const std::string& name) const {
    const auto found = m_xmp.find(lower(name));
    if (found == m_xmp.end()) {
        return nullptr;
    }
    for (const auto& [itsPrefix, value] : found->second) {
        if (itsPrefix == prefix) {
            return &value;
        }
    }
    for (const auto& [itsPrefix, value] : found->second) {
        if (!hasMeaningOfItsOwn(itsPrefix)) {
            return &value;
        }
    }
    return nullptr;
}

std::string Tags::xmpText(const std::string& prefix, const std::string& name) const {
    const Value* value = xmp(prefix, name);
    return value == nullptr || value->empty() ? std::string() : std::string(trim(value->front()));
}

std::optional<double> Tags::xmpNumber(const std::string& prefix, const std::string& name) const {
    const Value* value = xmp(prefix, name);
    return value == nullptr || value->empty() ? std::nullopt : parseNumber(value->front());
}

std::vector<double> Tags::xmpNumbers(const std::string& prefix, const std::string& name) const {
    const Value* value = xmp(prefix, name);
    return value == nullptr ? std::vector<double>() : parseNumbers(*value);
}

} // namespace tessik::exif
