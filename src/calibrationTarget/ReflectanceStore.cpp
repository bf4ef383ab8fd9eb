#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include "core/Fail.h"

#include <QtCore/QSettings>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <optional>

namespace tessik::radiometry {
namespace {

constexpr auto kGroup = "CalibrationTargets";

QString keyText(const CalibrationTargetKey& key) {
    return QString(kGroup) + "/" + text::toString(key.type) + "/" + key.id + "/" +
           QString::number(key.band.wavelengthNm, 'f', 1) + "_" +
           QString::number(key.band.fwhmNm, 'f', 1);
}

/// The reverse of keyText, without the group; nothing where the text is not a key. An identifier
/// may be empty, or hold slashes: the type stands before the first one, the band after the last.
std::optional<CalibrationTargetKey> keyFromText(const QString& text) {
    const auto type = targetTypeFromText(text.section('/', 0, 0));
    const QStringList band = text.section('/', -1).split('_');
    if (!type || text.count('/') < 1 || band.size() != 2) {
        return std::nullopt;
    }
    bool isWavelength = false;
    bool isWidth = false;
    const BandInfo info{band[0].toDouble(&isWavelength), band[1].toDouble(&isWidth)};
    if (!isWavelength || !isWidth) {
        return std::nullopt;
    }
    return CalibrationTargetKey{*type, text.section('/', 1, -2), info};
}

} // namespace

boost::optional<float> getCalibrationTargetReflectanceFromDb(const CalibrationTargetKey& key) {
    const QVariant value = QSettings().value(keyText(key));
    if (!value.canConvert(QMetaType::Float)) {
        return boost::none;
    }
    // A text that is not a number gives 0. Promised: docs/contract.md, text-is-zero.
    return value.toFloat();
}

void saveCalibrationTargetReflectanceInDb(const CalibrationTargetKey& key, float reflectance) {
    QSettings().setValue(keyText(key), reflectance);
}

void saveCalibrationTargetReflectanceInDb(const CalibrationTarget& target, const bands_t& bands) {
    if (target.reflectanceFactors.size() < bands.size()) {
        fail("Target ",
             target.id,
             ": ",
             target.reflectanceFactors.size(),
             " reflectance factors for ",
             bands.size(),
             " bands");
    }
    for (std::size_t b = 0; b < bands.size(); ++b) {
        saveCalibrationTargetReflectanceInDb({target.type, target.id, bands[b]},
                                             static_cast<float>(target.reflectanceFactors[b]));
    }
}

void updateCalibrationTargetReflectanceFromDb(const bands_t& bands, CalibrationTarget& target) {
    target.reflectanceFactors.resize(bands.size(), 0.0);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        if (const auto stored =
                getCalibrationTargetReflectanceFromDb({target.type, target.id, bands[b]})) {
            target.reflectanceFactors[b] = static_cast<double>(*stored);
        }
    }
}

std::vector<CalibrationTargetKey> getCalibrationTargetKeysFromDb() {
    QSettings settings;
    settings.beginGroup(kGroup);
    QStringList texts = settings.allKeys();
    texts.sort();
    std::vector<CalibrationTargetKey> keys;
    for (const QString& text : texts) {
        if (auto key = keyFromText(text)) {
            keys.push_back(std::move(*key));
        }
    }
    return keys;
}

void removeCalibrationTargetReflectanceFromDb(const CalibrationTargetKey& key) {
    QSettings().remove(keyText(key));
}

} // namespace tessik::radiometry
