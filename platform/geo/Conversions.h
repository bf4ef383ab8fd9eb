#pragma once

#include "platform/camera/GeoData.h"
#include "platform/export.h"
#include "platform/geo/ProjectCoordinateSystems.h"

#include <Eigen/Core>

#include <optional>

namespace tessik::geo {

/// The output has a place on the earth.
TESSIK_PLATFORM_EXPORT bool isConvertibleToWGS84(const OutCoordSystem& out,
                                                 const SiteCalibration& site);

/// @param position in output coordinates
/// @return false, and the result untouched, when it cannot be converted
TESSIK_PLATFORM_EXPORT bool out2wgs84(const OutCoordSystem& out,
                                      const SiteCalibration& site,
                                      const Eigen::Vector3d& position,
                                      GeoPosition& result);

/// @param position with a height
/// @param result in output coordinates
/// @return false, and the result untouched, when it cannot be converted
TESSIK_PLATFORM_EXPORT bool wgs842out(const OutCoordSystem& out,
                                      const SiteCalibration& site,
                                      const GeoPosition& position,
                                      Eigen::Vector3d& result);

/// Turns body axes into output axes. Body axes: x forward, y right, z down. From north, east, down
/// the body is turned by yaw about down (from true north, clockwise seen from above), then by pitch
/// about its right (nose up), then by roll about its forward axis (right side down):
/// Rz(yaw) Ry(pitch) Rx(roll). So the rotation times (0, 0, -1) is where the top of the body
/// points: up, if it is level.
///
/// @param yawPitchRoll degrees
/// @param position in output coordinates
/// @return none where the output system has no tangent axes, or an angle is not finite
TESSIK_PLATFORM_EXPORT std::optional<Eigen::Matrix3d>
RotationMatrixFromYawPitchRoll(const Eigen::Vector3d& yawPitchRoll,
                               const Eigen::Vector3d& position,
                               const OutCoordSystem& outCS);

} // namespace tessik::geo
