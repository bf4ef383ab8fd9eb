#include "radiometry/sun/SunPosition.h"

#include "core/Fail.h"
#include "platform/astro/Astro.h"
#include "platform/geo/ProjectCoordinateSystems.h"

#include <cmath>
#include <cstdint>
#include <ctime>

namespace tessik::radiometry {
namespace {

constexpr double kTemperature = 15.0; // degrees Celsius
constexpr double kPressure = 1010.0;  // hPa

/// Day count of a Unix time. @return false for a time that the calendar does not reach
bool dayCount(double time, double& date) {
    constexpr double kLargest = 1e15; // s, thirty million years
    if (!(std::abs(time) < kLargest)) {
        return false;
    }
    // Promised: docs/contract.md, whole-seconds.
    const std::time_t seconds = static_cast<std::int64_t>(time);
    std::tm utc{};
    if (gmtime_r(&seconds, &utc) == nullptr) {
        return false;
    }
    astro::cal_mjd(utc.tm_mon + 1, utc.tm_mday, utc.tm_year + 1900, &date);
    date += utc.tm_min / 1440.0 + utc.tm_hour / 24.0 + utc.tm_sec / 86400.0;
    return true;
}

} // namespace

struct SunPositionEstimator::Data {
    astro::Observer observer;
    astro::Object sun;
};

SunPositionEstimator::SunPositionEstimator() : m_data(std::make_unique<Data>()) {
    m_data->observer.temperature = kTemperature;
    m_data->observer.pressure = kPressure;
    m_data->observer.epoch = astro::kJ2000;
    const astro::Object* objects = nullptr;
    astro::getBuiltInObjs(&objects);
    m_data->sun = objects[astro::kSun];
}

SunPositionEstimator::~SunPositionEstimator() = default;

SunAngle SunPositionEstimator::sunAngle(double time, double latitude, double longitude) {
    astro::Observer& observer = m_data->observer;
    observer.latitude = latitude;
    observer.longitude = longitude;
    if (!dayCount(time, observer.date) || astro::obj_cir(&observer, &m_data->sun) != 0) {
        fail("Unable to compute sun position");
    }
    return {m_data->sun.azimuth, m_data->sun.altitude};
}

Eigen::Vector3d
sunRay(const Eigen::Vector3d& position, const SunAngle& angle, const geo::OutCoordSystem& outCS) {
    Eigen::Vector3d north;
    Eigen::Vector3d east;
    Eigen::Vector3d up;
    if (!outCS.getTangentAxes(position, north, east, up)) {
        fail("Unable to convert output coordinate system to East, North, Up: position ",
             position[0],
             " ",
             position[1],
             " ",
             position[2]);
    }
    return std::cos(angle.azimuth) * north + std::sin(angle.azimuth) * east +
           std::tan(angle.elevation) * up;
}

} // namespace tessik::radiometry
