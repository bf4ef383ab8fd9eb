#include "flight/light/ClearSky.h"

#include "platform/math/Angle.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>

namespace tessik::flight {
namespace {

/// What the model knows of one wavelength.
struct Line {
    double wavelengthNm;
    double sun;   ///< above the atmosphere, W/m2/nm
    double water; ///< absorption, 1/cm
    double ozone; ///< absorption, 1/atm-cm
    double gas;   ///< absorption by the mixed gases
};

// The table of the paper.
constexpr std::array<Line, 122> kLines = {{
    {300.0, 0.5359, 0.0, 10.0, 0.0},       {305.0, 0.5583, 0.0, 4.8, 0.0},
    {310.0, 0.622, 0.0, 2.7, 0.0},         {315.0, 0.6927, 0.0, 1.35, 0.0},
    {320.0, 0.7151, 0.0, 0.8, 0.0},        {325.0, 0.8329, 0.0, 0.38, 0.0},
    {330.0, 0.9619, 0.0, 0.16, 0.0},       {335.0, 0.9319, 0.0, 0.075, 0.0},
    {340.0, 0.9006, 0.0, 0.04, 0.0},       {345.0, 0.9113, 0.0, 0.019, 0.0},
    {350.0, 0.9755, 0.0, 0.007, 0.0},      {360.0, 0.9759, 0.0, 0.0, 0.0},
    {370.0, 1.1199, 0.0, 0.0, 0.0},        {380.0, 1.1038, 0.0, 0.0, 0.0},
    {390.0, 1.0338, 0.0, 0.0, 0.0},        {400.0, 1.4791, 0.0, 0.0, 0.0},
    {410.0, 1.7013, 0.0, 0.0, 0.0},        {420.0, 1.7404, 0.0, 0.0, 0.0},
    {430.0, 1.5872, 0.0, 0.0, 0.0},        {440.0, 1.837, 0.0, 0.0, 0.0},
    {450.0, 2.005, 0.0, 0.003, 0.0},       {460.0, 2.043, 0.0, 0.006, 0.0},
    {470.0, 1.987, 0.0, 0.009, 0.0},       {480.0, 2.027, 0.0, 0.014, 0.0},
    {490.0, 1.896, 0.0, 0.021, 0.0},       {500.0, 1.909, 0.0, 0.03, 0.0},
    {510.0, 1.927, 0.0, 0.04, 0.0},        {520.0, 1.831, 0.0, 0.048, 0.0},
    {530.0, 1.891, 0.0, 0.063, 0.0},       {540.0, 1.898, 0.0, 0.075, 0.0},
    {550.0, 1.892, 0.0, 0.085, 0.0},       {570.0, 1.84, 0.0, 0.12, 0.0},
    {593.0, 1.768, 0.075, 0.119, 0.0},     {610.0, 1.728, 0.0, 0.12, 0.0},
    {630.0, 1.658, 0.0, 0.09, 0.0},        {656.0, 1.524, 0.0, 0.065, 0.0},
    {667.6, 1.531, 0.0, 0.051, 0.0},       {690.0, 1.42, 0.016, 0.028, 0.15},
    {710.0, 1.399, 0.0125, 0.018, 0.0},    {718.0, 1.374, 1.8, 0.015, 0.0},
    {724.4, 1.373, 2.5, 0.012, 0.0},       {740.0, 1.298, 0.061, 0.01, 0.0},
    {752.5, 1.269, 0.0008, 0.008, 0.0},    {757.5, 1.245, 0.0001, 0.007, 0.0},
    {762.5, 1.223, 1e-05, 0.006, 4.0},     {767.5, 1.205, 1e-05, 0.005, 0.35},
    {780.0, 1.183, 0.0006, 0.0, 0.0},      {800.0, 1.148, 0.036, 0.0, 0.0},
    {816.0, 1.091, 1.6, 0.0, 0.0},         {823.7, 1.062, 2.5, 0.0, 0.0},
    {831.5, 1.038, 0.5, 0.0, 0.0},         {840.0, 1.022, 0.155, 0.0, 0.0},
    {860.0, 0.9987, 1e-05, 0.0, 0.0},      {880.0, 0.9472, 0.0026, 0.0, 0.0},
    {905.0, 0.8932, 7.0, 0.0, 0.0},        {915.0, 0.8682, 5.0, 0.0, 0.0},
    {925.0, 0.8297, 5.0, 0.0, 0.0},        {930.0, 0.8303, 27.0, 0.0, 0.0},
    {937.0, 0.814, 55.0, 0.0, 0.0},        {948.0, 0.7869, 45.0, 0.0, 0.0},
    {965.0, 0.7683, 4.0, 0.0, 0.0},        {980.0, 0.767, 1.48, 0.0, 0.0},
    {993.5, 0.7576, 0.1, 0.0, 0.0},        {1040.0, 0.6881, 1e-05, 0.0, 0.0},
    {1070.0, 0.6407, 0.001, 0.0, 0.0},     {1100.0, 0.6062, 3.2, 0.0, 0.0},
    {1120.0, 0.5859, 115.0, 0.0, 0.0},     {1130.0, 0.5702, 70.0, 0.0, 0.0},
    {1145.0, 0.5641, 75.0, 0.0, 0.0},      {1161.0, 0.5442, 10.0, 0.0, 0.0},
    {1170.0, 0.5334, 5.0, 0.0, 0.0},       {1200.0, 0.5016, 2.0, 0.0, 0.0},
    {1240.0, 0.4775, 0.002, 0.0, 0.05},    {1270.0, 0.4427, 0.002, 0.0, 0.3},
    {1290.0, 0.44, 0.1, 0.0, 0.02},        {1320.0, 0.4168, 4.0, 0.0, 0.0002},
    {1350.0, 0.3914, 200.0, 0.0, 0.00011}, {1395.0, 0.3589, 1000.0, 0.0, 1e-05},
    {1442.5, 0.3275, 185.0, 0.0, 0.05},    {1462.5, 0.3175, 80.0, 0.0, 0.011},
    {1477.0, 0.3073, 80.0, 0.0, 0.005},    {1497.0, 0.3004, 12.0, 0.0, 0.0006},
    {1520.0, 0.2928, 0.16, 0.0, 0.0},      {1539.0, 0.2755, 0.002, 0.0, 0.005},
    {1558.0, 0.2721, 0.0005, 0.0, 0.13},   {1578.0, 0.2593, 0.0001, 0.0, 0.04},
    {1592.0, 0.2469, 1e-05, 0.0, 0.06},    {1610.0, 0.244, 0.0001, 0.0, 0.13},
    {1630.0, 0.2435, 0.001, 0.0, 0.001},   {1646.0, 0.2348, 0.01, 0.0, 0.0014},
    {1678.0, 0.2205, 0.036, 0.0, 0.0001},  {1740.0, 0.1908, 1.1, 0.0, 1e-05},
    {1800.0, 0.1711, 130.0, 0.0, 1e-05},   {1860.0, 0.1445, 1000.0, 0.0, 0.0001},
    {1920.0, 0.1357, 500.0, 0.0, 0.001},   {1960.0, 0.123, 100.0, 0.0, 4.3},
    {1985.0, 0.1238, 4.0, 0.0, 0.2},       {2005.0, 0.113, 2.9, 0.0, 21.0},
    {2035.0, 0.1085, 1.0, 0.0, 0.13},      {2065.0, 0.0975, 0.4, 0.0, 1.0},
    {2100.0, 0.0924, 0.22, 0.0, 0.08},     {2148.0, 0.0824, 0.25, 0.0, 0.001},
    {2198.0, 0.0746, 0.33, 0.0, 0.00038},  {2270.0, 0.0683, 0.5, 0.0, 0.001},
    {2360.0, 0.0638, 4.0, 0.0, 0.0005},    {2450.0, 0.0495, 80.0, 0.0, 0.00015},
    {2500.0, 0.0485, 310.0, 0.0, 0.00014}, {2600.0, 0.0386, 15000.0, 0.0, 0.00066},
    {2700.0, 0.0366, 22000.0, 0.0, 100.0}, {2800.0, 0.032, 8000.0, 0.0, 150.0},
    {2900.0, 0.0281, 650.0, 0.0, 0.13},    {3000.0, 0.0248, 240.0, 0.0, 0.0095},
    {3100.0, 0.0221, 230.0, 0.0, 0.001},   {3200.0, 0.0196, 100.0, 0.0, 0.8},
    {3300.0, 0.0175, 120.0, 0.0, 1.9},     {3400.0, 0.0157, 19.5, 0.0, 1.3},
    {3500.0, 0.0141, 3.6, 0.0, 0.075},     {3600.0, 0.0127, 3.1, 0.0, 0.01},
    {3700.0, 0.0115, 2.5, 0.0, 0.00195},   {3800.0, 0.0104, 1.4, 0.0, 0.004},
    {3900.0, 0.0095, 0.17, 0.0, 0.29},     {4000.0, 0.0086, 0.0045, 0.0, 0.025},
}};

constexpr double kStandardPressurePa = 101300.0;

/// Factor of the sun's irradiance for its distance. J. Spencer, "Fourier series representation of
/// the position of the sun", Search 2 (1971) 172.
double distanceFactor(int dayOfYear) {
    const double angle = 2.0 * kPi * (dayOfYear - 1) / 365.0;
    return 1.00011 + 0.034221 * std::cos(angle) + 0.00128 * std::sin(angle) +
           0.000719 * std::cos(2.0 * angle) + 0.000077 * std::sin(2.0 * angle);
}

/// F. Kasten and A. Young, "Revised optical air mass tables and approximation formula", Applied
/// Optics 28 (1989) 4735-4738.
double airMass(double cosZenith) {
    const double degrees = std::acos(cosZenith) / kDegree;
    return 1.0 / (cosZenith + 0.50572 * std::pow(96.07995 - degrees, -1.6364));
}

/// The share of scattered light that goes forward.
double forwardShare(double cosZenith) {
    constexpr double kAsymmetry = 0.65;
    const double a = std::log(1.0 - kAsymmetry);
    const double afs = a * (1.459 + a * (0.1595 + a * 0.4129));
    const double bfs = a * (0.0783 + a * (-0.3824 - a * 0.5874));
    return 1.0 - 0.5 * std::exp((afs + bfs * cosZenith) * cosZenith);
}

/// What a path through the atmosphere lets through at one wavelength.
struct Transmittance {
    double rayleigh;
    double aerosol;           ///< scattering and absorption
    double aerosolScattering; ///< alone
    double aerosolAbsorption; ///< alone
    double water;
    double gas;
};

Transmittance
transmittanceOf(const Line& line, const Atmosphere& atmosphere, double mass, double pressureMass) {
    constexpr double kAlbedo400 = 0.945;
    constexpr double kAlbedoFactor = 0.095;
    const double um = line.wavelengthNm / 1000.0;
    const double depth =
        atmosphere.opticalDepth500 * std::pow(um / 0.5, -atmosphere.angstromExponent);
    const double logarithm = std::log(um / 0.4);
    const double albedo = kAlbedo400 * std::exp(-kAlbedoFactor * logarithm * logarithm);
    const double water = line.water * atmosphere.waterCm * mass;
    const double gas = line.gas * pressureMass;
    const double um2 = um * um;
    return {std::exp(-pressureMass / (um2 * um2 * (115.6406 - 1.3366 / um2))),
            std::exp(-depth * mass),
            std::exp(-albedo * depth * mass),
            std::exp(-(1.0 - albedo) * depth * mass),
            std::exp(-0.2385 * water / std::pow(1.0 + 20.07 * water, 0.45)),
            std::exp(-1.41 * gas / std::pow(1.0 + 118.3 * gas, 0.45))};
}

/// Ozone lies in a layer, 22 km high.
double ozoneMass(double cosZenith) {
    constexpr double kHeight = 22.0 / 6370.0;
    return (1.0 + kHeight) / std::sqrt(cosZenith * cosZenith + 2.0 * kHeight);
}

SkyLight lightAt(const Line& line, const Atmosphere& atmosphere, double cosZenith, double sun) {
    constexpr double kSkyMass = 1.8; // of what the ground throws back
    const double mass = airMass(cosZenith);
    const double relativePressure = atmosphere.pressurePa / kStandardPressurePa;
    const Transmittance path = transmittanceOf(line, atmosphere, mass, mass * relativePressure);
    const Transmittance back =
        transmittanceOf(line, atmosphere, kSkyMass, kSkyMass * relativePressure);
    const double ozone = std::exp(-line.ozone * atmosphere.ozoneAtmCm * ozoneMass(cosZenith));
    const double absorbed = ozone * path.water * path.gas;
    const double direct = sun * line.sun * path.rayleigh * path.aerosol * absorbed * cosZenith;
    const double available = sun * line.sun * cosZenith * absorbed * path.aerosolAbsorption;
    const double byAir = 0.5 * available * (1.0 - std::pow(path.rayleigh, 0.95));
    const double byAerosol = available * std::pow(path.rayleigh, 1.5) *
                             (1.0 - path.aerosolScattering) * forwardShare(cosZenith);
    const double skyReflectance =
        back.gas * back.water * back.aerosolAbsorption *
        (0.5 * (1.0 - back.rayleigh) +
         (1.0 - forwardShare(1.0 / kSkyMass)) * back.rayleigh * (1.0 - back.aerosolScattering));
    const double bounce = skyReflectance * atmosphere.groundReflectance;
    const double byGround = (direct + byAir + byAerosol) * bounce / (1.0 - bounce);
    const double um = line.wavelengthNm / 1000.0;
    const double correction = um <= 0.45 ? std::pow(um + 0.55, 1.8) : 1.0;
    return {direct, (byAir + byAerosol + byGround) * correction};
}

} // namespace

ClearSky::ClearSky(double sunElevation, int day, const Atmosphere& atmosphere)
    : m_spectrum(kLines.size()) {
    const double cosZenith = std::sin(sunElevation);
    if (!(cosZenith > 0.0)) {
        return;
    }
    const double sun = distanceFactor(day);
    std::transform(kLines.begin(), kLines.end(), m_spectrum.begin(), [&](const Line& line) {
        return lightAt(line, atmosphere, cosZenith, sun);
    });
}

SkyLight ClearSky::at(double wavelengthNm) const {
    const auto* const above = std::lower_bound(
        kLines.begin(), kLines.end(), wavelengthNm, [](const Line& line, double wavelength) {
            return line.wavelengthNm < wavelength;
        });
    if (above == kLines.end() || (above == kLines.begin() && wavelengthNm < above->wavelengthNm)) {
        return {};
    }
    const auto index = static_cast<std::size_t>(above - kLines.begin());
    const SkyLight& upper = m_spectrum[index];
    if (above->wavelengthNm == wavelengthNm) {
        return upper;
    }
    const SkyLight& lower = m_spectrum[index - 1];
    const double width = above->wavelengthNm - kLines[index - 1].wavelengthNm;
    const double share = (wavelengthNm - kLines[index - 1].wavelengthNm) / width;
    return {lower.direct + share * (upper.direct - lower.direct),
            lower.diffuse + share * (upper.diffuse - lower.diffuse)};
}

SkyLight ClearSky::over(const BandInfo& band) const {
    constexpr int kSteps = 16; // more than the table has in any camera's band
    const double width = std::max(0.0, band.fwhmNm);
    SkyLight mean;
    for (int i = 0; i < kSteps; ++i) {
        const SkyLight light = at(band.wavelengthNm + width * ((i + 0.5) / kSteps - 0.5));
        mean.direct += light.direct / kSteps;
        mean.diffuse += light.diffuse / kSteps;
    }
    return mean;
}

double standardPressure(double heightM) {
    constexpr double kSeaLevelPa = 101325.0;
    return kSeaLevelPa * std::pow(1.0 - 2.25577e-5 * std::clamp(heightM, -500.0, 9000.0), 5.25588);
}

int dayOfYear(double unixTime) {
    const auto seconds = static_cast<std::time_t>(static_cast<std::int64_t>(unixTime));
    std::tm utc{};
    return gmtime_r(&seconds, &utc) == nullptr ? 1 : utc.tm_yday + 1;
}

} // namespace tessik::flight
