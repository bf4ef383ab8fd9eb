#include "platform/panel/PanelCode.h"

#include <algorithm>
#include <cmath>
#include <regex>

namespace tessik::target {
namespace {

constexpr int kFirstVersionWithReflectance = 4;

/// The line's ends are where a panel was measured; a little beyond them it still holds for the
/// outermost bands of a camera, but not for a thermal band.
constexpr double kMaxBeyondNm = 100.0;

std::optional<ReflectanceLine> parseLine(const std::string& digits) {
    constexpr std::size_t kLength = 14;
    if (digits.size() != kLength) {
        return std::nullopt;
    }
    const auto number = [&digits](std::size_t at, std::size_t count) {
        return static_cast<double>(std::stoi(digits.substr(at, count)));
    };
    return ReflectanceLine{
        number(0, 4), number(4, 3) / 1000.0, number(7, 4), number(11, 3) / 1000.0};
}

double valueAt(const ReflectanceLine& line, double wavelengthNm) {
    const double share = (wavelengthNm - line.firstNm) / (line.lastNm - line.firstNm);
    return line.first + share * (line.last - line.first);
}

} // namespace

std::optional<PanelCode> parsePanelCode(const std::string& text) {
    // Any number of digits may follow: unless they are 14 they do not state a line, but the code is
    // that of a panel all the same.
    static const std::regex pattern("(RP([0-9]{2})-[0-9]{1,12}-[A-Z]{2})[-_]?([0-9]{0,32})");
    std::smatch parts;
    if (!std::regex_match(text, parts, pattern)) {
        return std::nullopt;
    }
    PanelCode code;
    code.serial = parts[1];
    code.version = std::stoi(parts[2]);
    if (code.version >= kFirstVersionWithReflectance) {
        code.line = parseLine(parts[3]);
    }
    return code;
}

PanelReflectance reflectanceOf(const PanelCode& code, const bands_t& bands) {
    if (code.version < kFirstVersionWithReflectance) {
        return {};
    }
    if (!code.line || code.line->firstNm == code.line->lastNm) {
        return {{}, "states no reflectance that can be read"};
    }
    if (bands.empty()) {
        return {{}, "states its reflectance by wavelength, and the image does not state its bands"};
    }
    const auto [low, high] = std::minmax(code.line->firstNm, code.line->lastNm);
    PanelReflectance reflectance;
    for (const BandInfo& band : bands) {
        if (!(band.wavelengthNm >= low - kMaxBeyondNm) ||
            !(band.wavelengthNm <= high + kMaxBeyondNm)) {
            return {{}, "states no reflectance near the wavelength of the image"};
        }
        const double value = valueAt(*code.line, band.wavelengthNm);
        if (!(value > 0.0 && value <= 1.0)) {
            return {{}, "states a reflectance that is not between 0 and 1"};
        }
        reflectance.values.push_back(value);
    }
    return reflectance;
}

} // namespace tessik::target
