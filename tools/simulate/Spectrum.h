#pragma once

#include <array>

namespace tessik::simulate {

/// Wavelengths at which spectra are tabulated, nm.
inline constexpr std::array<double, 5> kSpectrumWavelengthsNm = {475.0, 560.0, 668.0, 717.0, 840.0};

/// A value a tabulated wavelength.
using Spectrum = std::array<double, kSpectrumWavelengthsNm.size()>;

/// Straight lines between the tabulated values, constant beyond them; a tabulated value itself at
/// its wavelength.
double valueAt(const Spectrum& spectrum, double wavelengthNm);

} // namespace tessik::simulate
