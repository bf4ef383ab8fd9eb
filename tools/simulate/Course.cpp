#include "simulate/Course.h"

#include "simulate/Random.h"

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kPurpose = 0xc0045e;

constexpr double kAdvanceM = 7.3;
constexpr std::int64_t kIntervalMicroseconds = 1500000;
constexpr std::int64_t kStartMicroseconds = 19LL * 3600 * 1000000; // near noon at this longitude

constexpr double kLatitude = 36.5761;
constexpr double kLongitude = -119.4354;
constexpr double kAltitudeM = 165.0;
constexpr double kMetresPerDegree = 111320.0;
constexpr double kCosineOfLatitude = 0.80306;

} // namespace

Station stationOf(std::uint64_t seed, std::size_t capture) {
    Random random({seed, kPurpose, capture});
    Station station;
    station.eastM = random.uniform(-1.5, 1.5);
    station.northM = static_cast<double>(capture) * kAdvanceM + random.uniform(-0.5, 0.5);
    station.microseconds = kStartMicroseconds +
                           static_cast<std::int64_t>(capture) * kIntervalMicroseconds +
                           static_cast<std::int64_t>(random.below(80000));
    return station;
}

GeographicPosition positionOf(const Station& station) {
    return {kLatitude + station.northM / kMetresPerDegree,
            kLongitude + station.eastM / (kMetresPerDegree * kCosineOfLatitude),
            kAltitudeM};
}

} // namespace tessik::simulate
