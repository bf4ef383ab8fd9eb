#include "simulate/Course.h"

#include "simulate/Random.h"

#include <cmath>

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kCoursePurpose = 0xc0045e;

constexpr std::int64_t kStartMicroseconds = 19LL * 3600 * 1000000; // near noon at this longitude

constexpr double kLatitude = 36.5761;
constexpr double kLongitude = -119.4354;
constexpr double kAltitudeM = 165.0;
constexpr double kMetresPerDegree = 111320.0;
constexpr double kCosineOfLatitude = 0.80306;

} // namespace

std::int64_t captureMicroseconds(std::size_t capture, double intervalSeconds, Random& random) {
    return static_cast<std::int64_t>(capture) * std::llround(intervalSeconds * 1e6) +
           static_cast<std::int64_t>(random.below(80000));
}

Station stationOf(std::uint64_t seed, std::size_t capture, double intervalSeconds) {
    Random random({seed, kCoursePurpose, capture});
    Station station;
    station.eastM = random.uniform(-1.5, 1.5);
    const double advanceM = kAdvanceM * (intervalSeconds / kAdvanceSeconds);
    station.northM = static_cast<double>(capture) * advanceM + random.uniform(-0.5, 0.5);
    station.microseconds =
        kStartMicroseconds + captureMicroseconds(capture, intervalSeconds, random);
    return station;
}

Station onGround(Station station) {
    constexpr double kBesideM = 3.0;
    constexpr double kFlightHeightM = 55.0;
    constexpr double kArmHeightM = 1.0;
    station.eastM = -kBesideM;
    station.northM = -kBesideM;
    station.belowFlightM = kFlightHeightM - kArmHeightM;
    station.attitude = {};
    return station;
}

GeographicPosition positionOf(const Station& station) {
    return {kLatitude + station.northM / kMetresPerDegree,
            kLongitude + station.eastM / (kMetresPerDegree * kCosineOfLatitude),
            kAltitudeM - station.belowFlightM};
}

} // namespace tessik::simulate
