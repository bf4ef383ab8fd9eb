#pragma once

#include <Eigen/Core>

namespace tessik::geo {

/// How a site's coordinates, which the output is in, were fitted to the output's coordinate system:
/// system = scale * rotation * output + translation. Default: identity.
struct SiteCalibration {
    double scale = 1.0; ///< > 0
    Eigen::Matrix3d rotation = Eigen::Matrix3d::Identity();
    Eigen::Vector3d translation = Eigen::Vector3d::Zero(); ///< in the system's unit

    [[nodiscard]] Eigen::Vector3d toSystem(const Eigen::Vector3d& output) const {
        return scale * (rotation * output) + translation;
    }
    [[nodiscard]] Eigen::Vector3d toOutput(const Eigen::Vector3d& system) const {
        return rotation.transpose() * (system - translation) / scale;
    }
};

} // namespace tessik::geo
