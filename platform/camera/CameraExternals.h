#pragma once

#include <Eigen/Core>
#include <QtCore/QString>

#include <map>

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

/// A camera with the poses that its images were taken from.
struct CalibCamera {
    /// Pose of each image, by the path that its InputImage states. An image without an entry has no
    /// known pose.
    std::map<QString, CameraExternals> externals;

    /// @return null where the pose is not known
    [[nodiscard]] const CameraExternals* externalsOf(const QString& imagePath) const {
        const auto found = externals.find(imagePath);
        return found == externals.end() ? nullptr : &found->second;
    }
};

} // namespace tessik
