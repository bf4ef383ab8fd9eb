#pragma once

#include "radiometry/core/Types.h"

#include <Eigen/Core>

namespace tessik::radiometry::sequoia {

/// Values of the pixels of a band, or of a grid that is coarser by a whole factor; row after row.
using ParameterMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// Signal of a band without light: iso * exp(temperatureCoefficient * temperature) * dark +
/// darkOffset.
struct DarkCurrentParameter {
    double darkOffset = 0.0;             ///< DN, of every pixel
    ParameterMatrix dark;                ///< DN at ISO 1 and temperature 0, per pixel
    double temperatureCoefficient = 0.0; ///< 1 per degree Celsius
};

/// Response of a band to light.
struct CMOSParameter {
    ParameterMatrix deltaTau;   ///< s, added to the exposure time, per pixel
    double gain = 0.0;          ///< conversion gain of the band
    ParameterMatrix vignetting; ///< relative response, per pixel
};

/// The model of one band; dark, deltaTau and vignetting are of one size or whole fractions of it.
struct ModelParameter {
    DarkCurrentParameter darkCurrent;
    CMOSParameter cmos;
};

} // namespace tessik::radiometry::sequoia
