#pragma once

#include "radiometry/core/Types.h"

#include <vector>

namespace tessik::radiometry {

/// The sensitivity that makes reflectance of a camera's corrected values without a target, where
/// its maker's calibration is absolute: a MicaSense camera whose radiance calibration and
/// irradiance sensor are both in SI units. Its band sensitivity is F^2 / (65536 pi a1), so that the
/// camera correction gives 655.36 pi L of a radiance L in W/m2/sr/nm, and divided by an irradiance
/// in W/m2/nm 655.36 times the reflectance.
/// @param type that the image is corrected with: from the irradiance on there is such a constant
/// @return one value a band; empty = the maker's constant is not known
RADIOMETRY_EXPORT std::vector<double> makerSensitivity(const ExifInfo& exif, CorrectionType type);

} // namespace tessik::radiometry
