#pragma once

#include "radiometry/core/export.h"

namespace tessik::radiometry {

/// A clear sky's light, reduced to how much of it comes directly from the sun. Absorption by ozone,
/// water vapour and mixed gases, the extraterrestrial irradiance and the cosine of the zenith angle
/// are left out: only the ratio of direct to diffuse light means something.
///
/// Source: R. E. Bird and R. L. Hulstrom, A Simplified Clear Sky Model for Direct and Diffuse
/// Insolation on Horizontal Surfaces, SERI/TR-642-761, 1981.
class RADIOMETRY_EXPORT ClearSkyModelBird {
public:
    /// @param zenithAngle of the sun, radians, 0..pi/2
    /// @param pressure at the surface, hPa
    /// @param aerosolDepth500 optical depth at 500 nm
    /// @param aerosolDepth380 optical depth at 380 nm
    /// @param forwardScatteringRatio share of the aerosols' scattering that goes forward, 0..1
    /// @param aerosolAbsorptance absorptance coefficient of the aerosols
    ClearSkyModelBird(double zenithAngle,
                      double pressure,
                      double aerosolDepth500,
                      double aerosolDepth380,
                      double forwardScatteringRatio,
                      double aerosolAbsorptance);

    /// The fraction of direct sunlight, 0..1. Falls as the sun sinks, down to zenith angles of
    /// about 85 degrees; for a lower sun the paper's Rayleigh transmittance no longer holds and the
    /// result rises again, within the last degree above 1.
    [[nodiscard]] double epsilon() const;

private:
    double m_zenithAngle;
    double m_pressure;
    double m_aerosolDepth500;
    double m_aerosolDepth380;
    double m_forwardScatteringRatio;
    double m_aerosolAbsorptance;
};

} // namespace tessik::radiometry
