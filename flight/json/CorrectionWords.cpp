#include "flight/json/CorrectionWords.h"

#include <array>
#include <utility>

namespace tessik::flight {
namespace {

using radiometry::CorrectionType;
using radiometry::ImageCorrectionError;

constexpr std::array<std::pair<CorrectionType, const char*>, 5> kWords = {{
    {CorrectionType::NoCorrection, "none"},
    {CorrectionType::CameraOnly, "camera"},
    {CorrectionType::CameraAndSunIrradiance, "irradiance"},
    {CorrectionType::CameraSunIrradianceAndSunAngle, "sun-angle"},
    {kSunAngleAbsolute, "sun-angle-absolute"},
}};

} // namespace

const std::vector<CorrectionType>& correctionTypes() {
    static const std::vector<CorrectionType> types = [] {
        std::vector<CorrectionType> list;
        list.reserve(kWords.size());
        for (const auto& [type, word] : kWords) {
            list.push_back(type);
        }
        return list;
    }();
    return types;
}

std::string wordOf(CorrectionType type) {
    for (const auto& [known, word] : kWords) {
        if (known == type) {
            return word;
        }
    }
    return std::to_string(static_cast<int>(type));
}

std::optional<CorrectionType> typeOf(const std::string& word) {
    for (const auto& [type, known] : kWords) {
        if (word == known) {
            return type;
        }
    }
    return std::nullopt;
}

std::vector<std::string> wordsOf(ImageCorrectionError missing) {
    std::vector<std::string> words;
    if (has(missing, ImageCorrectionError::MissingSunIrradiance)) {
        words.emplace_back("sun-irradiance");
    }
    if (has(missing, ImageCorrectionError::MissingSunIrradianceOrientation)) {
        words.emplace_back("sun-irradiance-orientation");
    }
    if (has(missing, ImageCorrectionError::MissingGeolocationValue)) {
        words.emplace_back("capture-time");
    }
    return words;
}

} // namespace tessik::flight
