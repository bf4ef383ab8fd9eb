#include "flight/target/Witnesses.h"

#include "flight/input/Pixels.h"
#include "platform/math/Angle.h"
#include "platform/math/Quantile.h"
#include "radiometry/config/MakerSensitivity.h"

#include <QtCore/QString>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <utility>

namespace tessik::flight {
namespace {

using radiometry::MeasuredTarget;
using radiometry::TargetCalibration;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLeastAgreement = 0.85;
constexpr double kMostAgreement = 1.15;
constexpr double kOvercast = 0.55;

double ratio(double a, double b) {
    return std::isfinite(a) && b > 0.0 ? a / b : kNaN;
}

template <typename Value>
std::vector<double> valuesOf(const std::vector<Witness>& bands, const Value& value) {
    std::vector<double> values;
    for (const Witness& band : bands) {
        if (const double one = value(band); std::isfinite(one)) {
            values.push_back(one);
        }
    }
    return values;
}

std::string percentOf(double share) {
    return (QString::number(100.0 * share, 'f', 0) + " %").toStdString();
}

/// The sensor's ratios fall from the first band to the last, by a straight line.
bool fallsBehind(const std::vector<Witness>& bands) {
    constexpr double kBehind = 0.08;
    double n = 0.0;
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    double first = kNaN;
    double last = kNaN;
    for (const Witness& band : bands) {
        const double value = std::log(band.sensorRatio());
        if (!std::isfinite(value) || !std::isfinite(band.wavelengthNm)) {
            continue;
        }
        first = n == 0.0 ? band.wavelengthNm : first;
        last = band.wavelengthNm;
        n += 1.0;
        x += band.wavelengthNm;
        y += value;
        xx += band.wavelengthNm * band.wavelengthNm;
        xy += band.wavelengthNm * value;
    }
    const double spread = n * xx - x * x;
    return n >= 2.0 && spread > 0.0 && (n * xy - x * y) / spread * (last - first) < -kBehind;
}

/// One capture of a rig: its used targets, and what is said of each of their bands.
struct PanelCapture {
    double time = 0.0;
    std::vector<std::size_t> targets; ///< in the calibration's list
    std::vector<Witness> bands;       ///< in order of wavelength
    Verdict verdict;
    bool isSettled = false; ///< nothing contradicts its light, or it is tied to that in flight
};

/// The moment of a rig's light that belongs to an image; absent = none.
std::optional<Eigen::Index> momentOf(const RigLight& light, double time) {
    constexpr double kSame = 0.6; // s
    std::optional<Eigen::Index> best;
    double nearest = kSame;
    for (std::size_t i = 0; i < light.series.captures.size(); ++i) {
        const double distance = std::abs(light.series.captures[i].time - time);
        if (distance < nearest) {
            nearest = distance;
            best = static_cast<Eigen::Index>(i);
        }
    }
    return best;
}

std::optional<Eigen::Index> bandOf(const RigLight& light, std::uint64_t camera, std::size_t index) {
    for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
        if (light.series.bands[b].cameraId == camera && light.series.bands[b].index == index) {
            return static_cast<Eigen::Index>(b);
        }
    }
    return std::nullopt;
}

class Hearing {
public:
    Hearing(const Flight& flight,
            const Project& project,
            TargetCalibration& all,
            Warnings& warnings)
        : m_flight(flight), m_project(project), m_all(all), m_warnings(warnings) {}

    std::vector<Witness> hear(const Rig& rig) {
        const RigLight* light = lightOf(rig);
        std::vector<Witness> witnesses;
        std::vector<PanelCapture> captures = capturesOf(rig, light);
        for (PanelCapture& capture : captures) {
            capture.verdict = judge(capture.bands);
            act(captures, light, capture);
        }
        dropUnsettled(captures);
        for (const PanelCapture& capture : captures) {
            if (const std::string& text = capture.verdict.text; !text.empty()) {
                m_warnings.add(capture.bands.front().path, "light at the panel: " + text);
            }
            for (Witness band : capture.bands) {
                band.verdict = capture.verdict.text;
                witnesses.push_back(std::move(band));
            }
        }
        return witnesses;
    }

private:
    [[nodiscard]] const RigLight* lightOf(const Rig& rig) const {
        const auto found = std::find_if(m_project.lights.begin(),
                                        m_project.lights.end(),
                                        [&](const auto& light) { return light.cameras == rig; });
        return found == m_project.lights.end() ? nullptr : &*found;
    }

    [[nodiscard]] const InputImage& imageOf(const MeasuredTarget& target) const {
        return m_flight.images[target.imageIndex];
    }

    std::vector<PanelCapture> capturesOf(const Rig& rig, const RigLight* light) const {
        std::map<std::string, PanelCapture> captures;
        for (std::size_t i = 0; i < m_all.targets.size(); ++i) {
            const MeasuredTarget& target = m_all.targets[i];
            if (!target.isUsed || !std::binary_search(rig.begin(), rig.end(), target.cameraId)) {
                continue;
            }
            const InputImage& image = imageOf(target);
            const std::string name = captureOf(image);
            PanelCapture& capture =
                captures[name.empty() ? std::to_string(std::llround(image.geo.captureTime)) : name];
            capture.time = image.geo.captureTime;
            capture.targets.push_back(i);
            for (std::size_t b = 0; b < target.mean.size(); ++b) {
                capture.bands.push_back(witness(target, b, light));
            }
        }
        std::vector<PanelCapture> list;
        for (auto& [name, capture] : captures) {
            std::stable_sort(
                capture.bands.begin(), capture.bands.end(), [](const Witness& a, const Witness& b) {
                    return a.wavelengthNm < b.wavelengthNm;
                });
            list.push_back(std::move(capture));
        }
        std::sort(
            list.begin(), list.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
        return list;
    }

    [[nodiscard]] Witness
    witness(const MeasuredTarget& target, std::size_t band, const RigLight* light) const {
        const InputImage& image = imageOf(target);
        Witness one;
        one.path = target.imagePath.toStdString();
        one.time = image.geo.captureTime;
        one.cameraId = target.cameraId;
        one.cameraName = m_flight.cameras.at(target.cameraId).uniqueName.toStdString();
        one.bandName = bandName(image, band);
        if (band < image.exif.bands.size()) {
            one.wavelengthNm = image.exif.bands[band].wavelengthNm;
        }
        double used = 1.0; // light that the corrected values were divided by
        const bool isDivided = doIrradianceCorrection(m_project.typeOf(image));
        const auto moment = light == nullptr ? std::nullopt : momentOf(*light, one.time);
        const auto column = light == nullptr ? std::nullopt : bandOf(*light, target.cameraId, band);
        if (moment && column) {
            const LightCapture& capture = light->series.captures[static_cast<std::size_t>(*moment)];
            one.sunElevationDeg = capture.sunElevation / kDegree;
            one.clearSky = capture.clearSky[*column];
            one.sensor = capture.reading[*column] * light->levelling(*moment, *column);
            one.isAbsolute = light->series.isAbsolute;
            used = light->used(*moment, *column);
        }
        const std::vector<double> constants = radiometry::makerSensitivity(
            image.exif, radiometry::CorrectionType::CameraAndSunIrradiance);
        const double reflectance = target.target.reflectanceFactors[band];
        if (band < constants.size() && reflectance > 0.0) {
            one.panel =
                target.mean[band] * (isDivided ? used : 1.0) / (constants[band] * reflectance);
        }
        return one;
    }

    /// Logarithm of light / clear sky of the captures around a panel's, one a band of the light:
    /// the median of the 20 nearest ones within a quarter of an hour; under broken clouds the light
    /// between the clouds.
    [[nodiscard]] static Eigen::ArrayXd
    nearbyLight(const RigLight& light, const std::vector<PanelCapture>& panels, double time) {
        constexpr double kFar = 900.0;
        constexpr double kOfPanel = 3.0; // s
        constexpr std::size_t kCount = 20;
        std::vector<std::pair<double, Eigen::Index>> nearest;
        for (std::size_t i = 0; i < light.series.captures.size(); ++i) {
            const double moment = light.series.captures[i].time;
            const bool showsPanel =
                std::any_of(panels.begin(), panels.end(), [&](const PanelCapture& panel) {
                    return std::abs(panel.time - moment) < kOfPanel;
                });
            if (!showsPanel && std::abs(moment - time) < kFar) {
                nearest.emplace_back(std::abs(moment - time), static_cast<Eigen::Index>(i));
            }
        }
        std::sort(nearest.begin(), nearest.end());
        // Under broken clouds the captures next to it may be in the shade of one.
        if (light.sky.state != SkyState::Broken) {
            nearest.resize(std::min(nearest.size(), kCount));
        }
        const double share = light.sky.state == SkyState::Broken ? 0.75 : 0.5;
        Eigen::ArrayXd result(light.used.cols());
        for (Eigen::Index b = 0; b < result.size(); ++b) {
            std::vector<double> values;
            values.reserve(nearest.size());
            for (const auto& [distance, row] : nearest) {
                values.push_back(
                    std::log(light.used(row, b) /
                             light.series.captures[static_cast<std::size_t>(row)].clearSky[b]));
            }
            result[b] = quantile(std::move(values), share);
        }
        return result;
    }

    void
    act(const std::vector<PanelCapture>& panels, const RigLight* light, PanelCapture& capture) {
        const Verdict verdict = capture.verdict;
        std::string& text = capture.verdict.text;
        capture.isSettled = text.empty();
        if (light != nullptr && doIrradianceCorrection(light->type)) {
            const Eigen::ArrayXd nearby = nearbyLight(*light, panels, capture.time);
            if (isShaded(verdict, capture, *light, nearby)) {
                tie(*light, nearby, capture);
                capture.isSettled = true;
                for (Witness& band : capture.bands) {
                    band.isTied = true;
                }
                text += (text.empty() ? "the light sensor read less than in flight; " : "; ") +
                        std::string("the panel is tied to the light of the captures next to it");
            } else if (isReplaceable(verdict, *light, nearby) && hasMakerConstants(capture)) {
                drop(capture);
                text += "; the panel is not used, because nothing ties it to the light in flight";
            }
        }
    }

    void drop(const PanelCapture& capture) {
        for (const std::size_t i : capture.targets) {
            m_all.targets[i].isUsed = false;
            m_all.targets[i].remark = QString::fromStdString(capture.verdict.text);
        }
    }

    /// Panels whose light is in doubt are not used where there are others.
    void dropUnsettled(std::vector<PanelCapture>& captures) {
        const bool hasSettled = std::any_of(captures.begin(),
                                            captures.end(),
                                            [](const auto& capture) { return capture.isSettled; });
        for (PanelCapture& capture : captures) {
            const bool isUsed = m_all.targets[capture.targets.front()].isUsed;
            if (hasSettled && !capture.isSettled && isUsed) {
                drop(capture);
                capture.verdict.text += "; another panel of the flight is used in its place";
            }
        }
    }

    /// The sensor was shaded at the panel and not in flight.
    [[nodiscard]] static bool isShaded(const Verdict& verdict,
                                       const PanelCapture& capture,
                                       const RigLight& light,
                                       const Eigen::ArrayXd& nearby) {
        constexpr double kLess = 0.93;
        if (light.sky.state == SkyState::Overcast || light.sky.state == SkyState::Unknown) {
            return false; // there is no direct light to be shaded from
        }
        std::vector<double> sensor; // to that in flight
        std::vector<double> panel;
        for (const Witness& band : capture.bands) {
            const auto column = columnOf(light, band);
            if (!column) {
                continue;
            }
            const double inFlight = std::exp(nearby[*column]) * band.clearSky;
            sensor.push_back(ratio(band.sensor, inFlight));
            panel.push_back(ratio(band.panel, inFlight));
        }
        const double less = median(sensor);
        if (!(less < kLess)) {
            return false;
        }
        const double byPanel = median(panel);
        if (std::isfinite(byPanel)) {
            constexpr double kSameLight = 0.1; // between clouds
            if (light.sky.state == SkyState::Broken &&
                !(std::abs(std::log(byPanel)) < kSameLight)) {
                return false;
            }
            // Nearer to the light in flight than to the sensor's reading beside the panel.
            return std::abs(std::log(byPanel)) < std::abs(std::log(byPanel / less)) &&
                   !verdict.contradictsPanel;
        }
        return light.sky.state == SkyState::Clear;
    }

    [[nodiscard]] static std::optional<Eigen::Index> columnOf(const RigLight& light,
                                                              const Witness& band) {
        for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
            const LightBand& one = light.series.bands[b];
            if (one.cameraId == band.cameraId &&
                (one.band.wavelengthNm == band.wavelengthNm || !std::isfinite(band.wavelengthNm))) {
                return static_cast<Eigen::Index>(b);
            }
        }
        return std::nullopt;
    }

    /// Divides what was measured by the light in flight in place of the shaded reading.
    void tie(const RigLight& light, const Eigen::ArrayXd& nearby, const PanelCapture& capture) {
        for (const std::size_t i : capture.targets) {
            MeasuredTarget& target = m_all.targets[i];
            const auto moment = momentOf(light, imageOf(target).geo.captureTime);
            for (std::size_t b = 0; moment && b < target.mean.size(); ++b) {
                const auto column = bandOf(light, target.cameraId, b);
                if (!column || !std::isfinite(nearby[*column])) {
                    continue;
                }
                const LightCapture& there =
                    light.series.captures[static_cast<std::size_t>(*moment)];
                const double factor = light.used(*moment, *column) /
                                      (std::exp(nearby[*column]) * there.clearSky[*column]);
                target.mean[b] *= factor;
                target.standardDeviation[b] *= factor;
                target.target.sensitivity[b] *= factor;
                if (b < target.histogram.size()) {
                    target.histogram[b].from *= factor;
                    target.histogram[b].to *= factor;
                }
            }
            target.remark = QStringLiteral(
                "the light sensor was shaded: tied to the light of the captures next to it");
        }
    }

    /// One of panel and sensor was wrong at the panel, and in flight the sensor reads what a sky
    /// can give.
    [[nodiscard]] static bool
    isReplaceable(const Verdict& verdict, const RigLight& light, const Eigen::ArrayXd& nearby) {
        constexpr std::size_t kFewest = 12; // captures that tell of the light in flight
        const double middle = std::exp(median({nearby.begin(), nearby.end()}));
        const bool hasSun =
            light.sky.state == SkyState::Clear || light.sky.state == SkyState::Broken;
        const bool isOneWrong = verdict.contradictsPanel != verdict.contradictsSensor;
        return !verdict.text.empty() && (isOneWrong || hasSun) &&
               light.series.captures.size() >= kFewest && middle > kOvercast &&
               middle < kMostAgreement;
    }

    [[nodiscard]] bool hasMakerConstants(const PanelCapture& capture) const {
        return std::all_of(capture.targets.begin(), capture.targets.end(), [this](std::size_t i) {
            const InputImage& image = imageOf(m_all.targets[i]);
            return !radiometry::makerSensitivity(image.exif, m_project.typeOf(image)).empty();
        });
    }

    const Flight& m_flight;
    const Project& m_project;
    TargetCalibration& m_all;
    Warnings& m_warnings;
};

} // namespace

double Witness::sensorRatio() const {
    return isAbsolute ? ratio(sensor, clearSky) : kNaN;
}

double Witness::panelRatio() const {
    return ratio(panel, clearSky);
}

double Witness::panelToSensor() const {
    return isAbsolute ? ratio(panel, sensor) : kNaN;
}

Json toJson(const Witness& witness) {
    return {{"path", witness.path},
            {"time_unix", witness.time},
            {"camera", std::to_string(witness.cameraId)},
            {"camera_name", witness.cameraName},
            {"band", witness.bandName},
            {"wavelength_nm", orNull(std::optional(witness.wavelengthNm))},
            {"sun_elevation_deg", orNull(std::optional(witness.sunElevationDeg))},
            {"clear_sky", orNull(std::optional(witness.clearSky))},
            {"sensor", orNull(std::optional(witness.sensor))},
            {"panel", orNull(std::optional(witness.panel))},
            {"is_absolute", witness.isAbsolute},
            {"sensor_ratio", orNull(std::optional(witness.sensorRatio()))},
            {"panel_ratio", orNull(std::optional(witness.panelRatio()))},
            {"panel_to_sensor", orNull(std::optional(witness.panelToSensor()))},
            {"is_tied", witness.isTied},
            {"verdict", witness.verdict}};
}

Witness witnessOf(const JsonReader& json) {
    const auto number = [&json](const char* key) {
        return json[key].isNull() ? kNaN : json[key].number();
    };
    Witness witness;
    witness.path = json["path"].text();
    witness.time = json["time_unix"].number();
    witness.cameraId = json["camera"].id();
    witness.cameraName = json["camera_name"].text();
    witness.bandName = json["band"].text();
    witness.wavelengthNm = number("wavelength_nm");
    witness.sunElevationDeg = number("sun_elevation_deg");
    witness.clearSky = number("clear_sky");
    witness.sensor = number("sensor");
    witness.panel = number("panel");
    witness.isAbsolute = json["is_absolute"].flag();
    witness.isTied = json.has("is_tied") && json["is_tied"].flag();
    witness.verdict = json["verdict"].text();
    return witness;
}

Verdict judge(const std::vector<Witness>& bands) {
    constexpr double kAlike = 1.25;
    constexpr double kWeak = 0.9;
    const auto sensors = valuesOf(bands, [](const Witness& band) { return band.sensorRatio(); });
    const auto panels = valuesOf(bands, [](const Witness& band) { return band.panelRatio(); });
    const double sensor = median(sensors);
    const double panel = median(panels);
    const double both =
        median(valuesOf(bands, [](const Witness& band) { return band.panelToSensor(); }));
    Verdict verdict;
    if (both >= kLeastAgreement && both <= kMostAgreement) {
        return verdict; // the sky is known less well than that
    }
    if (!panels.empty()) {
        const auto [least, most] = std::minmax_element(panels.begin(), panels.end());
        verdict.contradictsPanel = *least > kMostAgreement && *most / *least < kAlike;
    }
    const bool saysOvercast = sensor < kOvercast && !(panel >= kOvercast);
    // Between bands the panel shows best what the sensor misses.
    verdict.contradictsSensor =
        !saysOvercast && fallsBehind(bands) && (sensor < kWeak || both > kMostAgreement);
    std::vector<std::string> sentences;
    if (verdict.contradictsPanel) {
        sentences.push_back(
            "the panel has " + percentOf(panel) +
            " of a clear sky's light, in all bands alike: it was tilted to the sun");
    }
    if (verdict.contradictsSensor) {
        sentences.push_back("the light sensor reads " + percentOf(sensor) +
                            " of a clear sky's light, and less at long wavelengths: it was shaded "
                            "and misses direct light");
    }
    if (std::isfinite(both) && sentences.empty()) {
        const std::string text =
            "the panel has " + percentOf(both) + " of the light that the light sensor reads";
        if (saysOvercast) {
            sentences.push_back(text + " under an overcast sky, which cannot tell which one is "
                                       "right: the sensor was partly covered, or its constant is "
                                       "off");
        } else if (both > 1.0) {
            verdict.contradictsSensor = panel <= kMostAgreement;
            sentences.push_back(text + (verdict.contradictsSensor
                                            ? ", and no more than the clear sky allows: the sensor "
                                              "was shaded or tilted"
                                            : ""));
        } else {
            verdict.contradictsPanel = sensor <= kMostAgreement;
            sentences.push_back(text + ": the panel lay in a shadow or is dirty, or the sensor was "
                                       "tilted to the sun");
        }
    }
    for (const std::string& sentence : sentences) {
        verdict.text += (verdict.text.empty() ? "" : "; ") + sentence;
    }
    return verdict;
}

std::vector<Witness> hearWitnesses(const Flight& flight,
                                   const Project& project,
                                   TargetCalibration& all,
                                   Warnings& warnings) {
    Hearing hearing(flight, project, all, warnings);
    std::vector<Witness> witnesses;
    for (const Rig& rig : project.rigs) {
        const std::vector<Witness> heard = hearing.hear(rig);
        witnesses.insert(witnesses.end(), heard.begin(), heard.end());
    }
    return witnesses;
}

} // namespace tessik::flight
