#pragma once

#include "radiometry/cameras/sequoia/ioModels.h"

#include <QtCore/QString>

namespace tessik::radiometry::sequoia {

/// Replaces the temperature coefficients of the bands that a thermal profile names. All or nothing.
/// @throws error with the reason, without the path, when the profile cannot be read, is malformed,
/// names a band that is not in `models`, or states nothing
void applyThermalProfile(const QString& path, BandModels& models);

} // namespace tessik::radiometry::sequoia
