#pragma once

#include "platform/geo/CoordSystem.h"

#include <Eigen/Core>

#include <utility>

namespace tessik::geo {

/// The coordinate system of a project's output. Processing works in the same axes from an origin
/// nearby, so that its coordinates are small. Default: local axes without an anchor.
class OutCoordSystem : public CoordSystem {
public:
    OutCoordSystem() = default;

    /// @param offset processing origin in output coordinates; also the reference position
    explicit OutCoordSystem(CoordSystem system,
                            const Eigen::Vector3d& offset = Eigen::Vector3d::Zero())
        : OutCoordSystem(std::move(system), offset, offset) {}

    /// @param reference a position amid the project, in output coordinates
    OutCoordSystem(CoordSystem system,
                   const Eigen::Vector3d& offset,
                   const Eigen::Vector3d& reference)
        : CoordSystem(std::move(system)), m_offset(offset), m_reference(reference) {}

    /// Turns processing into output coordinates.
    [[nodiscard]] Eigen::Vector3d proc2out(const Eigen::Vector3d& position) const {
        return position + m_offset;
    }

    /// A position within the project, in output coordinates: where the site is.
    [[nodiscard]] const Eigen::Vector3d& referencePosition() const { return m_reference; }

private:
    Eigen::Vector3d m_offset = Eigen::Vector3d::Zero();
    Eigen::Vector3d m_reference = Eigen::Vector3d::Zero();
};

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

/// The coordinate systems of a project. Default: local axes, not convertible.
struct ProjectCoordinateSystems {
    OutCoordSystem output;
    SiteCalibration site;
};

} // namespace tessik::geo
