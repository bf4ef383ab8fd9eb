#include "simulate/ClearSky.h"

#include "platform/math/Angle.h"
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

double eitherSign(Random& random, double low, double high) {
    const double sign = random.below(2) == 0 ? -1.0 : 1.0;
    return sign * random.uniform(low, high);
}

} // namespace

double receivedShare(double directFraction, double cosIncidence, double cosTilt) {
    const double sky = 0.5 + std::copysign(0.5 * cosTilt * cosTilt, cosTilt);
    return (1.0 - directFraction) * sky + directFraction * std::max(0.0, cosIncidence);
}

ClearSky::ClearSky(std::uint64_t seed, const Options& options, const std::vector<Station>& course)
    : m_options(options), m_seed(seed) {
    Random random({seed, kDriftPurpose});
    m_linear = options.drift * eitherSign(random, 0.05, 0.15);
    m_quadratic = options.drift * eitherSign(random, 0.03, 0.10);
    m_moments.reserve(course.size());
    for (const Station& station : course) {
        const double seconds = static_cast<double>(station.microseconds) * 1e-6;
        const SunDirection sun = sunDirection(kFlightDayUnix + seconds, positionOf(station));
        const Eigen::Vector3d ray(std::sin(sun.azimuth) * std::cos(sun.elevation),
                                  std::cos(sun.azimuth) * std::cos(sun.elevation),
                                  std::sin(sun.elevation));
        const auto whole =
            static_cast<double>(course.back().microseconds - course.front().microseconds);
        Moment moment;
        if (whole > 0.0) {
            moment.progress =
                static_cast<double>(station.microseconds - course.front().microseconds) / whole;
        }
        moment.sunAzimuthDegrees = sun.azimuth / kDegree;
        moment.sunElevationDegrees = sun.elevation / kDegree;
        moment.sinElevation = std::sin(sun.elevation);
        moment.sensor = sensorAttitude(station.attitude, options.mount);
        const Eigen::Vector3d normal = topOf(moment.sensor);
        moment.cosIncidence = normal.dot(ray);
        moment.cosTilt = normal.z();
        m_moments.push_back(moment);
    }
}

double ClearSky::directFraction(double wavelengthNm) const {
    const double change = kFractionPerNm * (wavelengthNm - kSkyReferenceNm);
    return std::clamp(m_options.directFraction + (m_options.perBand ? change : 0.0), 0.0, 1.0);
}

double ClearSky::facingIrradiance(const Moment& moment, double wavelengthNm) const {
    const double drift = moment.progress * (m_linear + m_quadratic * moment.progress);
    const double ofBand = 1.0 + kDriftPerNm * (wavelengthNm - kSkyReferenceNm);
    return clearSkyIrradiance(wavelengthNm) * (1.0 + ofBand * drift);
}

double ClearSky::irradiance(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    return facingIrradiance(moment, wavelengthNm) *
           receivedShare(directFraction(wavelengthNm), moment.sinElevation, 1.0);
}

LightReading ClearSky::reading(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    SunView sun;
    sun.directFraction = directFraction(wavelengthNm);
    sun.facingIrradiance = facingIrradiance(moment, wavelengthNm);
    sun.sunAzimuthDegrees = moment.sunAzimuthDegrees;
    sun.sunElevationDegrees = moment.sunElevationDegrees;
    sun.cosIncidence = moment.cosIncidence;
    sun.cosTilt = moment.cosTilt;
    // A band is known by its wavelength.
    const auto band = static_cast<std::uint64_t>(std::llround(wavelengthNm * 1000.0));
    std::vector<float> noise(1);
    Random({m_seed, kReadingPurpose, capture, band}).normal(noise);
    const double factor = 1.0 + m_options.sensorNoise * static_cast<double>(noise.front());
    const double share = receivedShare(sun.directFraction, moment.cosIncidence, moment.cosTilt);
    return {sun.facingIrradiance * share * factor, moment.sensor, sun, factor};
}

} // namespace tessik::simulate
