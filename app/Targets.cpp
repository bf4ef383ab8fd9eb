#include "Targets.h"

#include "Console.h"
#include "JsonReader.h"
#include "platform/exif/Tags.h"
#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include <QtCore/QSettings>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <map>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;
using radiometry::CalibrationTargetKey;

/// The shortest text that reads back to the same float.
std::string shortest(float value) {
    std::array<char, 32> text{};
    const auto [end, failure] = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), failure == std::errc() ? end : text.data()};
}

/// What is stored, by target.
std::map<std::string, std::vector<CalibrationTargetKey>> storedTargets() {
    std::map<std::string, std::vector<CalibrationTargetKey>> targets;
    for (CalibrationTargetKey& key : radiometry::getCalibrationTargetKeysFromDb()) {
        targets[TargetName{key.type, key.id}.text()].push_back(std::move(key));
    }
    for (auto& [name, keys] : targets) {
        std::sort(
            keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.band < b.band; });
    }
    return targets;
}

Json describe(const std::string& name, const std::vector<CalibrationTargetKey>& keys) {
    Json bands = Json::array();
    for (const CalibrationTargetKey& key : keys) {
        const auto value = radiometry::getCalibrationTargetReflectanceFromDb(key);
        bands.push_back(
            {{"wavelength_nm", key.band.wavelengthNm},
             {"fwhm_nm", key.band.fwhmNm},
             {"reflectance",
              value ? Json(exif::parseNumber(shortest(*value)).value_or(0.0)) : Json()}});
    }
    return {{"target", name}, {"reflectance", bands}};
}

void printTarget(const Json& target) {
    show("%s\n", target["target"].get<std::string>().c_str());
    for (const Json& band : target["reflectance"]) {
        show("  %7.1f nm  width %5.1f nm  %s\n",
             band["wavelength_nm"].get<double>(),
             band["fwhm_nm"].get<double>(),
             band["reflectance"].dump().c_str());
    }
}

std::optional<TargetName> parseName(const std::string& text) {
    auto name = TargetName::fromText(text);
    if (!name) {
        sayFailure({},
                   text + ": not TYPE/ID, with a TYPE of tags_12, tags_6, AirCalib or unknown "
                          "(which panels with a QR code are)");
    }
    return name;
}

const std::vector<CalibrationTargetKey>*
find(const std::map<std::string, std::vector<CalibrationTargetKey>>& targets,
     const TargetName& name) {
    const auto found = targets.find(name.text());
    if (found == targets.end()) {
        sayFailure({}, name.text() + ": no reflectance is stored for it");
        return nullptr;
    }
    return &found->second;
}

bool isWritten() {
    QSettings settings;
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        sayFailure(settings.fileName().toStdString(), "cannot be written");
        return false;
    }
    return true;
}

/// WAVELENGTH_FWHM=VALUE.
std::optional<std::pair<BandInfo, double>> parseBandValue(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::size_t separator = text.find('_');
    if (equals == std::string::npos || separator > equals) {
        return std::nullopt;
    }
    const auto wavelength = exif::parseNumber(text.substr(0, separator));
    const auto width = exif::parseNumber(text.substr(separator + 1, equals - separator - 1));
    const auto value = parseReflectance(text.substr(equals + 1));
    if (!wavelength || !width || !value || !(*wavelength > 0.0) || !(*width >= 0.0)) {
        return std::nullopt;
    }
    return std::pair(BandInfo{*wavelength, *width}, *value);
}

} // namespace

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

int listTargets(bool json) {
    Json all = Json::array();
    for (const auto& [name, keys] : storedTargets()) {
        all.push_back(describe(name, keys));
        if (!json) {
            printTarget(all.back());
        }
    }
    if (json) {
        std::puts(jsonText(all, 2).c_str());
    }
    return AllDone;
}

int showTarget(const std::string& text, bool json) {
    const auto name = parseName(text);
    const auto targets = storedTargets();
    const auto* keys = name ? find(targets, *name) : nullptr;
    if (keys == nullptr) {
        return NothingDone;
    }
    const Json target = describe(name->text(), *keys);
    if (json) {
        std::puts(jsonText(target, 2).c_str());
    } else {
        printTarget(target);
    }
    return AllDone;
}

int setTarget(const std::string& text, const std::vector<std::string>& values) {
    const auto name = parseName(text);
    if (!name) {
        return NothingDone;
    }
    std::vector<std::pair<BandInfo, double>> bands;
    for (const std::string& value : values) {
        const auto band = parseBandValue(value);
        if (!band) {
            sayFailure({},
                       value + ": not WAVELENGTH_FWHM=VALUE, as in 475_20=0.56, with a "
                               "reflectance above 0 and up to 1");
            return NothingDone;
        }
        bands.push_back(*band);
    }
    for (const auto& [band, value] : bands) {
        radiometry::saveCalibrationTargetReflectanceInDb({name->type, name->id, band},
                                                         static_cast<float>(value));
    }
    return isWritten() ? AllDone : NothingDone;
}

int removeTarget(const std::string& text) {
    const auto name = parseName(text);
    const auto targets = storedTargets();
    const auto* keys = name ? find(targets, *name) : nullptr;
    if (keys == nullptr) {
        return NothingDone;
    }
    for (const CalibrationTargetKey& key : *keys) {
        radiometry::removeCalibrationTargetReflectanceFromDb(key);
    }
    return isWritten() ? AllDone : NothingDone;
}

} // namespace tessik::app
