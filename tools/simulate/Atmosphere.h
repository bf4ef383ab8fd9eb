#pragma once

namespace tessik::simulate {

/// What level ground at sea level receives under a clear summer sky, averaged over bands as wide as
/// a camera's, W/m2/nm. Compared with detailed spectra at the sun's elevations of a survey it is
/// within some percent; bands of oxygen (690 and 760 nm) are left out.
/// @param elevation of the sun above the horizon, radians
double clearSkyIrradianceAt(double wavelengthNm, double elevation);

} // namespace tessik::simulate
