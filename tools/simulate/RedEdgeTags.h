#pragma once

#include "simulate/RedEdgeCamera.h"

namespace tessik::simulate {

/// The tags that such a camera writes into a file.
std::vector<exif::NewTag> redEdgeTags(const RedEdgeCalibration& calibration,
                                      const RedEdgeExposure& exposure,
                                      const Band& band,
                                      const Shot& shot);

} // namespace tessik::simulate
