#pragma once

#include "simulate/DjiCamera.h"

namespace tessik::simulate {

/// As 3 x 3 matrices are written.
inline constexpr auto kIdentityMatrix = "1.0000000,0.0000000,0.0000000,0.0000000,1.0000000,"
                                        "0.0000000,0.0000000,0.0000000,1.0000000";

/// The tags that every such camera writes in the same way. The geometry is that of the scene: no
/// distortion, and all bands see the same.
/// @param irradiance as the aircraft compensated it
/// @param width of the image, px
std::vector<exif::NewTag> djiTags(const DjiBody& body,
                                  const DjiCalibration& calibration,
                                  const DjiExposure& exposure,
                                  double irradiance,
                                  Eigen::Index width,
                                  const Band& band,
                                  const Shot& shot);

} // namespace tessik::simulate
