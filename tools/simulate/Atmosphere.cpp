// Source of the extinction by air: B. Leckner, The spectral distribution of solar radiation at the
// earth's surface - elements of a model, Solar Energy 20 (1978).
// Source of the extinction by haze: A. Angstrom, The parameters of atmospheric turbidity, Tellus 16
// (1964).
// Source of the air mass: F. Kasten and A. T. Young, Revised optical air mass tables and
// approximation formula, Applied Optics 28 (1989).
#include "simulate/Atmosphere.h"

#include "platform/math/Angle.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tessik::simulate {
namespace {

/// At one wavelength.
struct AirNode {
    double wavelengthNm;
    double outside; ///< the sun's irradiance outside of the air at its mean distance, W/m2/nm
    double gas;     ///< optical depth of ozone and water vapour
};

/// Smoothed over some 20 nm.
constexpr std::array<AirNode, 14> kAir = {{{450.0, 2.01, 0.001},
                                           {475.0, 2.03, 0.004},
                                           {500.0, 1.92, 0.010},
                                           {550.0, 1.88, 0.030},
                                           {570.0, 1.83, 0.040},
                                           {600.0, 1.75, 0.042},
                                           {650.0, 1.57, 0.022},
                                           {670.0, 1.52, 0.017},
                                           {700.0, 1.42, 0.008},
                                           {717.0, 1.38, 0.075},
                                           {740.0, 1.30, 0.010},
                                           {790.0, 1.16, 0.004},
                                           {840.0, 1.03, 0.030},
                                           {860.0, 1.00, 0.003}}};

constexpr double kJuneDistance = 0.967; ///< mean distance over the distance in June, squared

constexpr double kHazeAt500Nm = 0.20; ///< optical depth
constexpr double kHazeExponent = 1.3;
/// Of the light that haze takes from the sun's, what reaches the ground.
constexpr double kHazeForward = 0.80;
constexpr double kHazeBackward = 0.10;
constexpr double kAirForward = 0.5;
constexpr double kGroundAlbedo = 0.2;
constexpr double kAirMassOfDiffuse = 1.8;

AirNode airAt(double wavelengthNm) {
    const auto* const next = std::lower_bound(
        kAir.begin(), kAir.end(), wavelengthNm, [](const AirNode& node, double value) {
            return node.wavelengthNm < value;
        });
    if (next == kAir.begin() || next == kAir.end()) {
        return next == kAir.begin() ? kAir.front() : kAir.back();
    }
    const AirNode& last = *(next - 1);
    const double share =
        (wavelengthNm - last.wavelengthNm) / (next->wavelengthNm - last.wavelengthNm);
    return {wavelengthNm,
            last.outside + share * (next->outside - last.outside),
            last.gas + share * (next->gas - last.gas)};
}

double airMass(double elevation) {
    return 1.0 / (std::sin(elevation) +
                  0.50572 * std::pow(std::max(0.0, elevation / kDegree) + 6.07995, -1.6364));
}

} // namespace

double clearSkyIrradianceAt(double wavelengthNm, double elevation) {
    const double sine = std::sin(elevation);
    if (sine <= 0.0) {
        return 0.0;
    }
    const double micrometres = 1e-3 * wavelengthNm;
    const double airDepth = 0.008735 * std::pow(micrometres, -4.08);
    const double hazeDepth = kHazeAt500Nm * std::pow(micrometres / 0.5, -kHazeExponent);
    const double mass = airMass(elevation);
    const AirNode air = airAt(wavelengthNm);
    const double arriving = kJuneDistance * air.outside * sine * std::exp(-air.gas * mass);
    const double throughAir = std::exp(-airDepth * mass);
    const double throughHaze = std::exp(-hazeDepth * mass);
    const double direct = throughAir * throughHaze;
    const double scattered = kAirForward * (1.0 - throughAir) * std::sqrt(throughHaze) +
                             kHazeForward * (1.0 - throughHaze) * throughAir;
    // Light goes to and fro between the ground and the sky.
    const double skyAlbedo = kAirForward * (1.0 - std::exp(-airDepth * kAirMassOfDiffuse)) +
                             kHazeBackward * (1.0 - std::exp(-hazeDepth * kAirMassOfDiffuse));
    return arriving * (direct + scattered) / (1.0 - kGroundAlbedo * skyAlbedo);
}

} // namespace tessik::simulate
