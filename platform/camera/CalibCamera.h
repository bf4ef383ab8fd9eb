#pragma once

#include "platform/camera/CameraExternals.h"

#include <QtCore/QString>

#include <map>

namespace tessik {

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
