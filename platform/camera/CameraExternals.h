#pragma once

#include <Eigen/Core>

namespace tessik {

/// Pose of a camera at the moment of a capture.
struct GlobalShutter {
    /// In the processing coordinate system.
    Eigen::Vector3d position = Eigen::Vector3d::Zero();
    /// Turns camera axes into axes of the output coordinate system.
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
};

using CameraExternals = GlobalShutter;

} // namespace tessik
