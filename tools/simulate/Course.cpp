#include "simulate/Course.h"

#include "platform/math/Angle.h"
#include "simulate/Random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kCoursePurpose = 0xc0045e;

constexpr std::int64_t kStartMicroseconds = 19LL * 3600 * 1000000; // near noon at this longitude

constexpr double kLatitude = 36.5761;
constexpr double kLongitude = -119.4354;
constexpr double kAltitudeM = 165.0;
constexpr double kMetresPerDegree = 111320.0;
constexpr double kCosineOfLatitude = 0.80306;

/// Time of a capture since the flight began: in even steps, plus a delay of the camera.
std::int64_t captureMicroseconds(std::size_t capture, double intervalSeconds, Random& random) {
    return static_cast<std::int64_t>(capture) * std::llround(intervalSeconds * 1e6) +
           static_cast<std::int64_t>(random.below(80000));
}

constexpr double kSpeed = kAdvanceM / kAdvanceSeconds;
constexpr double kLegM = 180.0;
constexpr double kBankDegrees = 15.0;
/// Radius of a coordinated turn with that bank: speed^2 / (9.81 m/s2 tan(bank)).
constexpr double kRadiusM = 9.0;
constexpr double kTurnM = kPi * kRadiusM;
constexpr double kRollSeconds = 2.0; ///< from level to banked

/// Mid-morning at this longitude: in June the sun stands 40 to 50 degrees high.
constexpr std::int64_t kSurveyStart = (16 * 60 + 30) * 60LL * 1000000;

constexpr std::uint64_t kSurveyPurpose = 0x5042e4;
constexpr std::uint64_t kWindPurpose = 0x314d;
constexpr std::uint64_t kPosePurpose = 0x905e;

/// Gusts are waves whose periods have no common multiple within a flight. Their sum reaches
/// 8 degrees.
constexpr std::array<double, 4> kPeriodsSeconds = {31.7, 17.3, 9.1, 5.3};
constexpr std::array<double, 4> kSwingDegrees = {2.5, 2.5, 2.0, 1.0};
constexpr double kYawShare = 0.3; ///< yaw wanders by this share of what pitch and roll do

/// Rises smoothly from 0 to 1 within kRollSeconds around 0 s.
double eased(double seconds) {
    const double x = std::clamp(seconds / kRollSeconds + 0.5, 0.0, 1.0);
    return x * x * (3.0 - 2.0 * x);
}

/// After how many legs and turns the aircraft is, and how far beyond the last of them.
struct Progress {
    double leg = 0.0;
    double metres = 0.0;
    [[nodiscard]] bool isNorthbound() const { return std::fmod(leg, 2.0) == 0.0; }
};

Progress progressAt(double seconds) {
    const double metres = seconds * kSpeed;
    const double leg = std::floor(metres / (kLegM + kTurnM));
    return {leg, metres - leg * (kLegM + kTurnM)};
}

/// Turns at the north end are to the right, at the south end to the left.
double bankAt(const Progress& progress) {
    const double sinceTurn = (progress.metres - kLegM) / kSpeed;
    const double sinceEnd = sinceTurn - kTurnM / kSpeed;
    // The aircraft is still rolling out of the turn when the next leg begins.
    const double sinceLastEnd = progress.metres / kSpeed;
    const double last = progress.leg > 0.0 ? 1.0 - eased(sinceLastEnd) : 0.0;
    const double bank = kBankDegrees * (eased(sinceTurn) - eased(sinceEnd) - last);
    return progress.isNorthbound() ? bank : -bank;
}

double gust(std::uint64_t seed, std::uint64_t axis, double seconds) {
    Random random({seed, kWindPurpose, axis});
    double degrees = 0.0;
    for (std::size_t i = 0; i < kPeriodsSeconds.size(); ++i) {
        const double phase = random.uniform(0.0, 2.0 * kPi);
        degrees += kSwingDegrees[i] * std::sin(2.0 * kPi * seconds / kPeriodsSeconds[i] + phase);
    }
    return degrees;
}

} // namespace

Attitude Station::statedAttitude() const {
    return {attitude.yawDegrees + statedError.yawDegrees,
            attitude.pitchDegrees + statedError.pitchDegrees,
            attitude.rollDegrees + statedError.rollDegrees};
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

Station surveyStation(std::uint64_t seed, std::size_t capture, double intervalSeconds) {
    Random random({seed, kSurveyPurpose, capture});
    const std::int64_t sinceStart = captureMicroseconds(capture, intervalSeconds, random);
    const double seconds = static_cast<double>(sinceStart) * 1e-6;
    const Progress progress = progressAt(seconds);
    const double angle = std::max(0.0, progress.metres - kLegM) / kRadiusM; // of the turn flown
    const double along = std::min(progress.metres, kLegM) + kRadiusM * std::sin(angle);
    const bool isNorthbound = progress.isNorthbound();
    const double heading = (isNorthbound ? angle : kPi - angle) * 180.0 / kPi;

    Station station;
    station.microseconds = kSurveyStart + sinceStart;
    station.northM = isNorthbound ? along : kLegM - along;
    station.eastM = kRadiusM * (2.0 * progress.leg + 1.0 - std::cos(angle));
    station.attitude = {std::remainder(heading + kYawShare * gust(seed, 0, seconds), 360.0),
                        gust(seed, 1, seconds),
                        gust(seed, 2, seconds) + bankAt(progress)};
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
    station.isOnGround = true;
    return station;
}

void addPoseNoise(std::uint64_t seed, std::size_t capture, double deviation, Station& station) {
    std::vector<float> noise(2);
    Random({seed, kPosePurpose, capture}).normal(noise);
    station.statedError = {
        0.0, deviation * static_cast<double>(noise[0]), deviation * static_cast<double>(noise[1])};
}

GeographicPosition positionOf(const Station& station) {
    return {kLatitude + station.northM / kMetresPerDegree,
            kLongitude + station.eastM / (kMetresPerDegree * kCosineOfLatitude),
            kAltitudeM - station.belowFlightM};
}

} // namespace tessik::simulate
