#pragma once

#include "radiometry/calibrationTarget/MeasuredTarget.h"

#include <QtCore/QString>

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::radiometry::detail {

/// Judges a measured target by itself: sets isUsed and remark.
/// @return a warning; empty = none
std::string judge(MeasuredTarget& target);

/// The sensitivity of a camera from those of its targets that are used.
/// @param warnings what is odd is appended
CameraCalibration choose(std::uint64_t cameraId,
                         const QString& cameraName,
                         const std::vector<MeasuredTarget>& targets,
                         std::vector<std::string>& warnings);

} // namespace tessik::radiometry::detail
