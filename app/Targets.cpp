#include "app/Subcommands.h"
#include "flight/target/TargetName.h"
#include "platform/exif/Tags.h"
#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include <QtCore/QSettings>

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tessik::app {
namespace {

using flight::Json;
using flight::TargetName;
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
    show("%s\n", target["target"].get<std::string>());
    for (const Json& band : target["reflectance"]) {
        show("  %7.1f nm  width %5.1f nm  %s\n",
             band["wavelength_nm"].get<double>(),
             band["fwhm_nm"].get<double>(),
             band["reflectance"].dump());
    }
}

TargetName parseName(const std::string& text) {
    const auto name = TargetName::fromText(text);
    if (!name) {
        throw std::runtime_error(
            text + ": not TYPE/ID, with a TYPE of tags_12, tags_6, AirCalib or unknown (which "
                   "panels with a QR code are)");
    }
    return *name;
}

std::vector<CalibrationTargetKey> keysOf(const TargetName& name) {
    const auto targets = storedTargets();
    const auto found = targets.find(name.text());
    if (found == targets.end()) {
        throw std::runtime_error(name.text() + ": no reflectance is stored for it");
    }
    return found->second;
}

int write() {
    QSettings settings;
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        throw std::runtime_error(settings.fileName().toStdString() + ": cannot be written");
    }
    return AllDone;
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
    const auto value = flight::parseReflectance(text.substr(equals + 1));
    if (!wavelength || !width || !value || !(*wavelength > 0.0) || !(*width >= 0.0)) {
        return std::nullopt;
    }
    return std::pair(BandInfo{*wavelength, *width}, *value);
}

int list(bool json) {
    Json all = Json::array();
    for (const auto& [name, keys] : storedTargets()) {
        all.push_back(describe(name, keys));
        if (!json) {
            printTarget(all.back());
        }
    }
    if (json) {
        showJson(all);
    }
    return AllDone;
}

int showOne(const TargetName& name, bool json) {
    const Json target = describe(name.text(), keysOf(name));
    if (json) {
        showJson(target);
    } else {
        printTarget(target);
    }
    return AllDone;
}

/// @param values each WAVELENGTH_FWHM=VALUE, nm; all are stored, or nothing is
int set(const TargetName& name, const std::vector<std::string>& values) {
    std::vector<std::pair<BandInfo, double>> bands;
    for (const std::string& value : values) {
        const auto band = parseBandValue(value);
        if (!band) {
            throw std::runtime_error(value +
                                     ": not WAVELENGTH_FWHM=VALUE, as in 475_20=0.56, with a "
                                     "reflectance above 0 and up to 1");
        }
        bands.push_back(*band);
    }
    for (const auto& [band, value] : bands) {
        radiometry::saveCalibrationTargetReflectanceInDb({name.type, name.id, band},
                                                         static_cast<float>(value));
    }
    return write();
}

int remove(const TargetName& name) {
    for (const CalibrationTargetKey& key : keysOf(name)) {
        radiometry::removeCalibrationTargetReflectanceFromDb(key);
    }
    return write();
}

} // namespace

Action addTargets(CLI::App& cli) {
    struct Options {
        std::string name;
        std::vector<std::string> values;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("targets", "Keep known reflectances of targets");
    command.require_subcommand(1);
    CLI::App& listing = *command.add_subcommand("list", "Show all that are stored");
    CLI::App& showing = *command.add_subcommand("show", "Show those of one target");
    CLI::App& setting = *command.add_subcommand("set", "Store reflectances of a target");
    CLI::App& removal = *command.add_subcommand("remove", "Remove a target from the store");
    for (CLI::App* one : {&showing, &setting, &removal}) {
        one->add_option("TYPE/ID",
                        options->name,
                        "tags_12, tags_6, AirCalib or unknown (panels with a QR code), and serial")
            ->required();
    }
    addJson(listing, options->json);
    addJson(showing, options->json);
    setting
        .add_option("WAVELENGTH_FWHM=VALUE",
                    options->values,
                    "Band in nm and reflectance, above 0 and up to 1: 475_20=0.56")
        ->required();
    return [options, &listing, &showing, &setting](Terminal& /*terminal*/) {
        return listing.parsed()   ? list(options->json)
               : showing.parsed() ? showOne(parseName(options->name), options->json)
               : setting.parsed() ? set(parseName(options->name), options->values)
                                  : remove(parseName(options->name));
    };
}

} // namespace tessik::app
