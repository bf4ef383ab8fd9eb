#pragma once

#include <Eigen/Core>

namespace tessik {

/// Pose of a camera at the moment of a capture. Camera axes are those of photogrammetry: x to the
/// right of the image, y to its upper edge, z out of the back of the camera. So in output axes of
/// east, north and up the identity is a camera that looks straight down, the upper edge of its
/// image to the north.
struct GlobalShutter {
    /// In the processing coordinate system.
    Eigen::Vector3d position = Eigen::Vector3d::Zero();
    /// Turns camera axes into axes of the output coordinate system.
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
};

/// The pose of an image's camera: one for all its rows.
using CameraExternals = GlobalShutter;

} // namespace tessik
