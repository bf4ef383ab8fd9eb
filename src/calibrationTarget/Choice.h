#pragma once

#include "radiometry/calibrationTarget/MeasuredTarget.h"

#include <QtCore/QString>

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::radiometry::detail {

/// Decides whether a measured target is used, from its own values only: sets isUsed and remark.
/// @return a warning; empty = none
std::string decideUse(MeasuredTarget& target);

/// The sensitivity of a camera from those of its targets that are used.
/// @param warnings what is odd is appended
CameraCalibration choose(std::uint64_t cameraId,
                         const QString& cameraName,
                         const std::vector<MeasuredTarget>& targets,
                         std::vector<std::string>& warnings);

} // namespace tessik::radiometry::detail
