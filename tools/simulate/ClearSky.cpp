#include "simulate/ClearSky.h"

#include "platform/math/Angle.h"
#include "simulate/Atmosphere.h"
#include "simulate/Random.h"
#include "simulate/Sun.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

constexpr double kSkyReferenceNm = 650.0;
/// Haze scatters blue light most.
constexpr double kFractionPerNm = 2e-4;
constexpr double kDriftPerNm = 5e-4;

constexpr std::uint64_t kDriftPurpose = 0xd41f7;
constexpr std::uint64_t kReadingPurpose = 0x5e4504;
constexpr std::uint64_t kJitterPurpose = 0x717;
constexpr std::uint64_t kHazePurpose = 0x4a2e;

constexpr double kLargestHaze = 0.05;

double eitherSign(Random& random, double low, double high) {
    const double sign = random.below(2) == 0 ? -1.0 : 1.0;
    return sign * random.uniform(low, high);
}

double secondsOf(const Station& station) {
    return static_cast<double>(station.microseconds) * 1e-6;
}

SunDirection sunAt(const Station& station) {
    return sunDirection(kFlightDayUnix + secondsOf(station), positionOf(station));
}

} // namespace

double receivedShare(double directFraction, double cosIncidence, double cosTilt) {
    const double sky = 0.5 + std::copysign(0.5 * cosTilt * cosTilt, cosTilt);
    return (1.0 - directFraction) * sky + directFraction * std::max(0.0, cosIncidence);
}

ClearSky::ClearSky(std::uint64_t seed, const Options& options, const std::vector<Station>& course)
    : m_options(options), m_seed(seed),
      m_clouds(
          options.clouds, seed, secondsOf(course.front()), secondsOf(course.back()), options.drift),
      m_begin(secondsOf(course.front())), m_end(secondsOf(course.back())),
      m_firstElevation(sunAt(course.front()).elevation) {
    Random random({seed, kDriftPurpose});
    if (options.clouds != Clouds::Kind::Overcast) {
        m_linear = options.drift * eitherSign(random, 0.05, 0.15);
        m_quadratic = options.drift * eitherSign(random, 0.03, 0.10);
    }
    if (options.hasHaze) {
        Random haze({seed, kHazePurpose});
        m_total += haze.uniform(-kLargestHaze, kLargestHaze);
        m_options.directFraction += haze.uniform(-kLargestHaze, kLargestHaze);
    }
    m_moments.reserve(course.size());
    for (std::size_t capture = 0; capture < course.size(); ++capture) {
        m_moments.push_back(momentOf(course[capture], capture));
    }
}

ClearSky::Moment ClearSky::momentOf(const Station& station, std::size_t capture) const {
    const SunDirection sun = sunAt(station);
    const Eigen::Vector3d ray(std::sin(sun.azimuth) * std::cos(sun.elevation),
                              std::cos(sun.azimuth) * std::cos(sun.elevation),
                              std::sin(sun.elevation));
    Moment moment;
    moment.seconds = secondsOf(station);
    if (m_end > m_begin) {
        moment.progress = (moment.seconds - m_begin) / (m_end - m_begin);
    }
    moment.sunAzimuthDegrees = sun.azimuth / kDegree;
    moment.sunElevationDegrees = sun.elevation / kDegree;
    moment.sinElevation = std::sin(sun.elevation);
    moment.shade = station.isOnGround ? m_options.sensorShade : 1.0;
    std::vector<float> jitter(1);
    Random({m_seed, kJitterPurpose, capture}).normal(jitter);
    moment.jitter = 1.0 + m_options.sensorJitter * static_cast<double>(jitter.front());
    moment.stated = sensorAttitude(station.statedAttitude(), m_options.mount);
    const Eigen::Vector3d statedNormal = topOf(moment.stated);
    moment.statedCosIncidence = statedNormal.dot(ray);
    moment.statedCosTilt = statedNormal.z();
    const Attitude sensor =
        turnedInBody(sensorAttitude(station.attitude, m_options.mount),
                     {0.0, m_options.mountErrorPitch, m_options.mountErrorRoll});
    const Eigen::Vector3d normal = topOf(sensor);
    moment.cosIncidence = normal.dot(ray);
    moment.cosTilt = normal.z();
    return moment;
}

double ClearSky::directFraction(double wavelengthNm) const {
    const double change = kFractionPerNm * (wavelengthNm - kSkyReferenceNm);
    return std::clamp(m_options.directFraction + (m_options.perBand ? change : 0.0), 0.0, 1.0);
}

double ClearSky::clearFacing(const Moment& moment, double wavelengthNm) const {
    const double drift = moment.progress * (m_linear + m_quadratic * moment.progress);
    const double ofBand = 1.0 + kDriftPerNm * (wavelengthNm - kSkyReferenceNm);
    const double levelShare =
        receivedShare(directFraction(wavelengthNm), std::sin(m_firstElevation), 1.0);
    return m_total * clearSkyIrradianceAt(wavelengthNm, m_firstElevation) / levelShare *
           (1.0 + ofBand * drift);
}

ClearSky::Parts ClearSky::parts(const Moment& moment, double wavelengthNm) const {
    const double facing = clearFacing(moment, wavelengthNm);
    const double fraction = directFraction(wavelengthNm);
    const double diffuse = m_clouds.diffuse(moment.seconds, wavelengthNm);
    if (m_clouds.kind() == Clouds::Kind::Overcast) {
        return {0.0, diffuse * facing * receivedShare(fraction, moment.sinElevation, 1.0)};
    }
    return {fraction * facing * m_clouds.transmittance(moment.seconds),
            (1.0 - fraction) * facing * diffuse};
}

double ClearSky::irradiance(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    const Parts light = parts(moment, wavelengthNm);
    return light.direct * std::max(0.0, moment.sinElevation) + light.diffuse;
}

/// The panel sees the part (1 + cos(tilt)) / 2 of an even sky.
double ClearSky::onPanel(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    const Parts light = parts(moment, wavelengthNm);
    const double tilt = m_options.panelTiltDegrees * kDegree;
    const double cosIncidence = std::sin(moment.sunElevationDegrees * kDegree + tilt);
    return light.direct * std::max(0.0, cosIncidence) +
           light.diffuse * 0.5 * (1.0 + std::cos(tilt));
}

LightReading ClearSky::reading(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    const Parts light = parts(moment, wavelengthNm);
    const Parts atSensor{moment.shade * light.direct, light.diffuse};
    LightReading reading;
    reading.attitude = moment.stated;
    reading.received =
        atSensor.facing() * receivedShare(atSensor.fraction(), moment.cosIncidence, moment.cosTilt);
    // A band is known by its wavelength.
    const auto band = static_cast<std::uint64_t>(std::llround(wavelengthNm * 1000.0));
    std::vector<float> noise(1);
    Random({m_seed, kReadingPurpose, capture, band}).normal(noise);
    reading.error =
        moment.jitter * (1.0 + m_options.sensorNoise * static_cast<double>(noise.front()));
    reading.irradiance = reading.received * reading.error;

    SunView sun;
    sun.directFraction = light.fraction();
    sun.facingIrradiance = light.facing();
    sun.sunAzimuthDegrees = moment.sunAzimuthDegrees;
    sun.sunElevationDegrees = moment.sunElevationDegrees;
    sun.cosIncidence = moment.cosIncidence;
    sun.cosTilt = moment.cosTilt;
    sun.transmittance = m_clouds.transmittance(moment.seconds);
    const double statedShare =
        receivedShare(atSensor.fraction(), moment.statedCosIncidence, moment.statedCosTilt);
    const double statedFacing = statedShare > 0.0 ? reading.irradiance / statedShare : 0.0;
    sun.statedDirect = atSensor.fraction() * statedFacing;
    sun.statedScattered = statedFacing - sun.statedDirect;
    reading.level = sun.statedDirect * std::max(0.0, moment.sinElevation) + sun.statedScattered;
    reading.sun = sun;
    return reading;
}

} // namespace tessik::simulate
