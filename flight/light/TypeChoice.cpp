#include "flight/light/TypeChoice.h"

#include "flight/json/CorrectionWords.h"
#include "radiometry/config/CorrectionSelection.h"

#include <QtCore/QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace tessik::flight {
namespace {

using radiometry::CorrectionType;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr auto kAsRead = CorrectionType::CameraAndSunIrradiance;
constexpr auto kByMount = CorrectionType::CameraSunIrradianceAndSunAngle;

bool isIn(const Rig& rig, const InputImage& image) {
    return image.enabled && !image.exif.isThermal &&
           std::binary_search(rig.begin(), rig.end(), image.cameraId);
}

/// How a type comes to its light, for people.
const char* wayOf(CorrectionType type) {
    return type == kAsRead    ? "as read"
           : type == kByMount ? "levelled by the sensor's mount on the camera"
                              : "levelled by the sensor's own pose";
}

std::string percent(double share) {
    return (QString::number(100.0 * share, 'f', 1) + " %").toStdString();
}

} // namespace

CorrectionType TypeChoice::guess(const Rig& rig) const {
    std::optional<CorrectionType> least;
    for (const InputImage& image : m_flight.images) {
        if (isIn(rig, image)) {
            const CorrectionType type = radiometry::guessRadiometricCorrectionTypeFromImage(image);
            if (doAnyCorrection(type)) {
                least = std::min(least.value_or(type), type);
            }
        }
    }
    return least.value_or(CorrectionType::NoCorrection);
}

bool TypeChoice::isSupported(const Rig& rig, CorrectionType type) const {
    return std::all_of(
        m_flight.images.begin(), m_flight.images.end(), [&](const InputImage& image) {
            return !isIn(rig, image) ||
                   !doAnyCorrection(radiometry::guessRadiometricCorrectionTypeFromImage(image)) ||
                   (image.geo.position && image.geo.captureTime != 0.0 &&
                    wordsOf(radiometry::isInformationMissingForCorrection(image, type)).empty());
        });
}

TypeChoice::Candidate TypeChoice::candidate(CorrectionType type,
                                            const LightSeries& series,
                                            const Rig& rig,
                                            bool isOvercast) const {
    std::vector<double> times;
    for (const LightCapture& capture : series.captures) {
        times.push_back(capture.time);
    }
    Eigen::ArrayXXd level = series.logarithms();
    if (doSunAngleCorrection(type)) {
        SettingsByCamera settings;
        for (const auto& [id, camera] : m_flight.cameras) {
            const bool isOurs = std::binary_search(rig.begin(), rig.end(), id);
            settings[id] = {isOurs ? type : CorrectionType::NoCorrection};
        }
        Observer nobody;
        Warnings unheard(nobody);
        try {
            const Sunlight sunlight =
                decideSunlight(m_flight, settings, m_systems, m_sunlight, isOvercast, unheard);
            level += levellingLogarithms(viewsOf(series, m_flight, type, m_systems),
                                         fractionsOf(series, sunlight.fractions),
                                         {});
        } catch (const radiometry::error&) {
            return {type, kNaN};
        }
    }
    return {type, unsteadiness(times, commonMode(level))};
}

RigType TypeChoice::choose(const Rig& rig, const LightSeries& series) {
    constexpr std::size_t kFewest = 12;
    const CorrectionType guessed = guess(rig);
    if (!doIrradianceCorrection(guessed) || series.captures.empty()) {
        return {guessed, "the images have no usable reading of a light sensor"};
    }
    std::vector<CorrectionType> supported;
    for (const CorrectionType type : {kByMount, kSunAngleAbsolute}) {
        if (isSupported(rig, type)) {
            supported.push_back(type);
        }
    }
    if (supported.empty()) {
        const InputImage& image = m_flight.images[series.captures.front().images.front()];
        return {guessed,
                image.exif.isSunIrradianceLevel
                    ? "the readings are levelled already"
                    : "the metadata lack what levelling the readings needs"};
    }
    if (series.captures.size() < kFewest) {
        return {guessed, "there are too few captures to compare the ways of levelling"};
    }
    const SkyVerdict sky = skyOver(series, m_flight, m_systems);
    const bool isOvercast = sky.state == SkyState::Overcast;
    Candidate best = candidate(kAsRead, series, rig, isOvercast);
    std::string compared = std::string(wayOf(kAsRead)) + " " + percent(best.unsteadiness);
    for (const CorrectionType type : supported) {
        constexpr double kAbout = 1.05;
        const Candidate next = candidate(type, series, rig, isOvercast);
        if (!std::isfinite(next.unsteadiness)) {
            continue;
        }
        compared.append(", ").append(wayOf(type)).append(" ").append(percent(next.unsteadiness));
        if (next.unsteadiness < kAbout * best.unsteadiness || !std::isfinite(best.unsteadiness)) {
            best = next;
        }
    }
    return {best.type,
            wordOf(sky.state) + " sky: neighbouring captures differ by (" + compared + ")"};
}

} // namespace tessik::flight
