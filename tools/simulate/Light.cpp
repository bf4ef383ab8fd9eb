#include "simulate/Light.h"

#include "simulate/Random.h"
#include "simulate/Spectrum.h"

#include <algorithm>

namespace tessik::simulate {
namespace {

constexpr Spectrum kClearSky = {1.56, 1.47, 1.36, 1.24, 1.03};

/// Clouds let less infrared than blue light through: change per nm from 650 nm, under the thickest.
constexpr double kCloudTilt = -3e-4;
constexpr double kLightReferenceNm = 650.0;

constexpr std::uint64_t kLightPurpose = 0x11647;

} // namespace

double clearSkyIrradiance(double wavelengthNm) {
    return valueAt(kClearSky, wavelengthNm);
}

ChangingLight::ChangingLight(std::uint64_t seed, std::size_t captureCount)
    : m_moments(captureCount) {
    Random random({seed, kLightPurpose});
    double drift = 1.0;
    bool isCloudy = false;
    double cover = 1.0;
    std::uint32_t left = 1 + random.below(3);
    for (Moment& moment : m_moments) {
        drift = std::clamp(drift + random.uniform(-0.01, 0.01), 0.92, 1.05);
        if (left == 0) {
            isCloudy = !isCloudy;
            cover = random.uniform(0.30, 0.70);
            left = 2 + random.below(4);
        }
        --left;
        moment.clearSky = drift;
        // The light differs from place to place under a cloud.
        moment.cloud = isCloudy ? cover * random.uniform(0.92, 1.08) : 1.0;
    }
}

double ChangingLight::irradiance(std::size_t capture, double wavelengthNm) const {
    const Moment& moment = m_moments.at(capture);
    const double tilt =
        1.0 + kCloudTilt * (1.0 - moment.cloud) * (wavelengthNm - kLightReferenceNm);
    return clearSkyIrradiance(wavelengthNm) * moment.clearSky * moment.cloud * tilt;
}

LightReading ChangingLight::reading(std::size_t capture, double wavelengthNm) const {
    constexpr double kMountedAtYaw = 3.5;
    const double received = irradiance(capture, wavelengthNm);
    return {received, {kMountedAtYaw, 0.0, 0.0}, std::nullopt, 1.0, received, received};
}

} // namespace tessik::simulate
