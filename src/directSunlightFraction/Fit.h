#pragma once

#include "directSunlightFraction/Readings.h"

namespace tessik::radiometry::detail {

/// Least squares over the readings, unweighted.
/// @throws error as computeDirectSunlightFractionForBand
SunlightFractionFitResult fit(Readings readings, unsigned int polynomialDegree);

} // namespace tessik::radiometry::detail
