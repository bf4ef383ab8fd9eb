#pragma once

#include "radiometry/core/Account.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry {

/// Turns the samples of a thermal band, hundredths of a kelvin, into degrees Celsius in place:
/// sample / 100 - 273.15. A sample of 0, which no body can have, becomes kNoData. Exposure,
/// vignetting and light have no part in it, so that such a band does not go through correct.
/// Source: cameras that state their images in this unit (ExifInfo::isThermal).
/// @return pixels, masked pixels and mean of each band, under the name "Celsius"
RADIOMETRY_EXPORT Account toCelsius(BandImage& bands);

} // namespace tessik::radiometry
