#include "flight/light/LightSeries.h"

#include "flight/light/ClearSky.h"
#include "flight/light/Poses.h"
#include "platform/math/Angle.h"
#include "radiometry/config/MakerSensitivity.h"
#include "radiometry/sun/SunIrradiance.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <unordered_map>

namespace tessik::flight {
namespace {

constexpr auto kIrradiance = radiometry::CorrectionType::CameraAndSunIrradiance;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool isPartOf(const LightSeries& series, const InputImage& image) {
    return image.enabled && image.geo.captureTime != 0.0 && std::isfinite(image.geo.captureTime) &&
           std::binary_search(series.rig.begin(), series.rig.end(), image.cameraId) &&
           exif::hasSunIrradiance(image.exif);
}

/// Where the bands of each camera begin in the series; fills its bands.
std::unordered_map<std::uint64_t, std::size_t> listBands(const Flight& flight,
                                                         LightSeries& series) {
    std::unordered_map<std::uint64_t, std::size_t> firsts;
    bool isAbsolute = true;
    for (const InputImage& image : flight.images) {
        if (!isPartOf(series, image) ||
            !firsts.try_emplace(image.cameraId, series.bands.size()).second) {
            continue;
        }
        const std::size_t count = image.exif.sunIrradiance.size();
        for (std::size_t b = 0; b < count; ++b) {
            const bool isStated = image.exif.bands.size() == count;
            series.bands.push_back(
                {image.cameraId, b, isStated ? image.exif.bands[b] : BandInfo{}});
        }
        isAbsolute = isAbsolute && !radiometry::makerSensitivity(image.exif, kIrradiance).empty();
    }
    series.isAbsolute = isAbsolute && !series.bands.empty();
    return firsts;
}

/// Captures that name none belong together when they were taken within half a second.
std::string keyOf(const InputImage& image) {
    const std::string capture = captureOf(image);
    return capture.empty() ? std::to_string(std::llround(2.0 * image.geo.captureTime)) : capture;
}

/// Clear skies by the sun's elevation: there are few in a flight.
class Skies {
public:
    Skies(std::vector<LightBand> bands, int day, double heightM)
        : m_bands(std::move(bands)), m_day(day) {
        m_atmosphere.pressurePa = standardPressure(heightM);
    }

    Eigen::ArrayXd at(double elevation) {
        const double steps = elevation / kStep;
        const double lower = std::floor(steps);
        const double share = steps - lower;
        const auto index = static_cast<int>(lower);
        return (1.0 - share) * lightAt(index) + share * lightAt(index + 1);
    }

private:
    static constexpr double kStep = 0.25 * kDegree;

    const Eigen::ArrayXd& lightAt(int index) {
        const auto [found, isNew] = m_light.try_emplace(index);
        if (isNew) {
            const ClearSky sky(index * kStep, m_day, m_atmosphere);
            found->second.resize(static_cast<Eigen::Index>(m_bands.size()));
            for (std::size_t b = 0; b < m_bands.size(); ++b) {
                const double light = sky.over(m_bands[b].band).level();
                found->second[static_cast<Eigen::Index>(b)] = light > 0.0 ? light : kNaN;
            }
        }
        return found->second;
    }

    std::vector<LightBand> m_bands;
    int m_day;
    Atmosphere m_atmosphere;
    std::map<int, Eigen::ArrayXd> m_light;
};

void addSky(const Flight& flight, LightSeries& series) {
    if (series.captures.empty()) {
        return;
    }
    const InputImage& first = flight.images[series.captures.front().images.front()];
    const double height = first.geo.position ? first.geo.position->height : 0.0;
    Skies skies(
        series.bands, dayOfYear(first.geo.captureTime), std::isfinite(height) ? height : 0.0);
    radiometry::SunPositionEstimator sun;
    for (LightCapture& capture : series.captures) {
        const InputImage& image = flight.images[capture.images.front()];
        capture.sunElevation = kNaN;
        if (image.geo.position) {
            capture.sunElevation = sun.sunAngle(capture.time,
                                                image.geo.position->latitude * kDegree,
                                                image.geo.position->longitude * kDegree)
                                       .elevation;
        }
        capture.clearSky = capture.sunElevation > 0.0
                               ? skies.at(capture.sunElevation)
                               : Eigen::ArrayXd::Constant(capture.reading.size(), kNaN);
    }
}

} // namespace

Eigen::ArrayXXd LightSeries::logarithms() const {
    const bool hasSky = std::all_of(captures.begin(), captures.end(), [](const auto& capture) {
        return capture.clearSky.isFinite().all();
    });
    Eigen::ArrayXXd all(captures.size(), bands.size());
    for (std::size_t i = 0; i < captures.size(); ++i) {
        const LightCapture& capture = captures[i];
        const Eigen::ArrayXd light = capture.reading.log();
        all.row(static_cast<Eigen::Index>(i)) =
            hasSky ? (light - capture.clearSky.log()).eval() : light;
    }
    return all;
}

LightSeries lightSeriesOf(const Rig& rig, const Flight& flight) {
    LightSeries series;
    series.rig = rig;
    const auto firsts = listBands(flight, series);
    std::unordered_map<std::string, std::size_t> indices;
    for (std::size_t i = 0; i < flight.images.size(); ++i) {
        const InputImage& image = flight.images[i];
        if (!isPartOf(series, image)) {
            continue;
        }
        const auto [found, isNew] = indices.try_emplace(keyOf(image), series.captures.size());
        if (isNew) {
            LightCapture& capture = series.captures.emplace_back();
            capture.time = image.geo.captureTime;
            capture.reading =
                Eigen::ArrayXd::Constant(static_cast<Eigen::Index>(series.bands.size()), kNaN);
        }
        LightCapture& capture = series.captures[found->second];
        capture.images.push_back(i);
        const Eigen::ArrayXd reading = exif::sunIrradiance(image.exif);
        const auto first = static_cast<Eigen::Index>(firsts.at(image.cameraId));
        const Eigen::Index count = std::min(reading.size(), capture.reading.size() - first);
        capture.reading.segment(first, count) = reading.head(count);
    }
    std::sort(series.captures.begin(), series.captures.end(), [](const auto& a, const auto& b) {
        return a.time < b.time;
    });
    addSky(flight, series);
    return series;
}

Eigen::ArrayXd fractionsOf(const LightSeries& series, const std::map<BandInfo, double>& direct) {
    Eigen::ArrayXd fractions(static_cast<Eigen::Index>(series.bands.size()));
    for (std::size_t b = 0; b < series.bands.size(); ++b) {
        const auto found = direct.find(series.bands[b].band);
        fractions[static_cast<Eigen::Index>(b)] = found == direct.end() ? kNaN : found->second;
    }
    return fractions;
}

std::vector<std::optional<SensorView>> viewsOf(const LightSeries& series,
                                               const Flight& flight,
                                               radiometry::CorrectionType type,
                                               const geo::ProjectCoordinateSystems& systems) {
    namespace correction = radiometry::correction;
    std::vector<std::optional<SensorView>> views(series.captures.size());
    for (std::size_t i = 0; i < series.captures.size(); ++i) {
        const InputImage& image = flight.images[series.captures[i].images.front()];
        const CameraExternals externals = externalsOf(image, systems);
        const Eigen::Vector3d position = systems.output.proc2out(externals.position);
        try {
            const Eigen::Vector3d normal = correction::sunIrradianceSensorPoseVector(
                image.exif, externals, image.path, systems.output, type);
            const auto sun = correction::getSunRayAndUpDirection(
                position, image.geo.captureTime, systems.output, systems.site);
            Eigen::Vector3d north;
            Eigen::Vector3d east;
            Eigen::Vector3d up;
            if (!systems.output.getTangentAxes(position, north, east, up)) {
                continue;
            }
            const auto& pose = image.exif.sunSensorYawPitchRoll ? image.exif.sunSensorYawPitchRoll
                                                                : image.exif.cameraYawPitchRoll;
            const double yaw = pose ? (*pose)[0] * kDegree : 0.0;
            SensorView view;
            view.sun = sun.sunRay.normalized();
            view.up = sun.up.normalized();
            view.normal = normal.normalized();
            const Eigen::Vector3d heading = std::cos(yaw) * north + std::sin(yaw) * east;
            view.forward = (heading - heading.dot(view.normal) * view.normal).normalized();
            view.right = view.forward.cross(view.normal);
            if (view.normal.allFinite() && view.forward.allFinite() && view.sun.allFinite()) {
                views[i] = view;
            }
        } catch (const radiometry::error&) {
            continue; // no pose, or no sun
        }
    }
    return views;
}

} // namespace tessik::flight
