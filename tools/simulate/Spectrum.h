#pragma once

#include <array>

namespace tessik::simulate {

/// Wavelengths at which spectra are tabulated, nm.
inline constexpr std::array<double, 5> kSpectrumWavelengthsNm = {475.0, 560.0, 668.0, 717.0, 840.0};

/// One value for each tabulated wavelength.
using Spectrum = std::array<double, kSpectrumWavelengthsNm.size()>;

/// Interpolates linearly between the tabulated values; the spectrum is constant beyond them. At a
/// tabulated wavelength the result is exactly the tabulated value.
double valueAt(const Spectrum& spectrum, double wavelengthNm);

} // namespace tessik::simulate
