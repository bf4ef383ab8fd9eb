#pragma once

/// @file
/// The sensor model of a Parrot Sequoia band. Pure functions, without clamping: negative values
/// stay negative, NaN and infinity go through. Thread safe.

#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry::sequoia {

/// Signal without light, in DN: exp(temperature * temperatureCoefficient) * iso * dark +
/// darkOffset, formed in double and rounded once.
/// @param temperature of the sensor, degrees Celsius
/// @return of the size of p.dark
RADIOMETRY_EXPORT BandMatrix darkCurrent(double iso,
                                         double temperature,
                                         const DarkCurrentParameter& p);

/// Factor that turns a dark-corrected value into a quantity proportional to scene radiance:
/// fNumber^2 / ((exposureTime + deltaTau) * iso * gain). A zero divisor gives infinity.
/// @param exposureTime s
/// @return of the size of p.deltaTau
RADIOMETRY_EXPORT ParameterMatrix opticalCorrection(double iso,
                                                    double fNumber,
                                                    double exposureTime,
                                                    const CMOSParameter& p);

/// The sensor's response to a band of scene values: image * vignetting / opticalCorrection.
/// @param image of as many elements as p.deltaTau and p.vignetting, which is not checked
/// @return of the size of p.deltaTau
RADIOMETRY_EXPORT BandMatrix cmosResponse(const BandMatrix& image,
                                          double iso,
                                          double fNumber,
                                          double exposureTime,
                                          const CMOSParameter& p);

} // namespace tessik::radiometry::sequoia
