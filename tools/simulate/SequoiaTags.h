#pragma once

#include "simulate/SequoiaCamera.h"

namespace tessik::simulate {

/// The tags that such a camera writes into a file.
std::vector<exif::NewTag> sequoiaTags(const SequoiaCalibration& calibration,
                                      const SequoiaExposure& exposure,
                                      const std::string& serialNumber,
                                      const Band& band,
                                      const Shot& shot);

} // namespace tessik::simulate
