#pragma once

#include "simulate/MicaSenseCamera.h"

#include <string>

namespace tessik::simulate {

/// The tags that every such camera writes in the same way.
std::vector<exif::NewTag> micaSenseTags(const std::string& model,
                                        const std::string& serialNumber,
                                        const MicaSenseCalibration& calibration,
                                        const MicaSenseExposure& exposure,
                                        const Band& band,
                                        const Shot& shot);

} // namespace tessik::simulate
