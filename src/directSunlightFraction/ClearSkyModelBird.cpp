#include "radiometry/directSunlightFraction/ClearSkyModelBird.h"

#include "platform/math/Angle.h"

#include <cmath>

namespace tessik::radiometry {
namespace {

constexpr double kStandardPressure = 1013.0; // hPa

/// Length of the light's way through the air in units of the vertical way.
/// Source: F. Kasten, A new table and approximation formula for the relative optical air mass,
/// 1965.
double airMass(double zenithAngle) {
    const double degrees = zenithAngle / kPi * 180.0;
    return 1.0 / (std::cos(zenithAngle) + 0.15 * std::pow(93.885 - degrees, -1.25));
}

double rayleighTransmittance(double mass) {
    return std::exp(-0.0903 * std::pow(mass, 0.84) * (1.0 + mass - std::pow(mass, 1.01)));
}

double aerosolTransmittance(double depth, double mass) {
    return std::exp(-std::pow(depth, 0.873) * (1.0 + depth - std::pow(depth, 0.7088)) *
                    std::pow(mass, 0.9108));
}

} // namespace

ClearSkyModelBird::ClearSkyModelBird(double zenithAngle,
                                     double pressure,
                                     double aerosolDepth500,
                                     double aerosolDepth380,
                                     double forwardScatteringRatio,
                                     double aerosolAbsorptance)
    : m_zenithAngle(zenithAngle), m_pressure(pressure), m_aerosolDepth500(aerosolDepth500),
      m_aerosolDepth380(aerosolDepth380), m_forwardScatteringRatio(forwardScatteringRatio),
      m_aerosolAbsorptance(aerosolAbsorptance) {}

double ClearSkyModelBird::epsilon() const {
    const double mass = airMass(m_zenithAngle);
    const double rayleigh = rayleighTransmittance(mass * m_pressure / kStandardPressure);
    const double aerosol =
        aerosolTransmittance(0.2758 * m_aerosolDepth380 + 0.35 * m_aerosolDepth500, mass);
    const double absorption =
        1.0 - m_aerosolAbsorptance * (1.0 - mass + std::pow(mass, 1.06)) * (1.0 - aerosol);
    const double scattering = aerosol / absorption;

    const double direct = 0.9662 * rayleigh * aerosol;
    const double diffuse =
        0.79 * absorption *
        (0.5 * (1.0 - rayleigh) + m_forwardScatteringRatio * (1.0 - scattering)) /
        (1.0 - mass + std::pow(mass, 1.02));
    return direct / (direct + diffuse);
}

} // namespace tessik::radiometry
