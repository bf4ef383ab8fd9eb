#pragma once

#include <Eigen/Geometry>

namespace tessik {

/// A rotation, by default none.
class RotationMatrix {
public:
    /// The orientation of an instrument relative to a camera: Rx(omega) Ry(phi) Rz(kappa), which
    /// turns the instrument's axes into the camera's (x right, y to the upper edge of the image, z
    /// out of the back). Its z axis is then (sin phi, -sin omega cos phi, cos omega cos phi).
    /// @param omega,phi,kappa radians
    void setOmegaPhiKappaRelative(double omega, double phi, double kappa) {
        m_matrix = (Eigen::AngleAxisd(omega, Eigen::Vector3d::UnitX()) *
                    Eigen::AngleAxisd(phi, Eigen::Vector3d::UnitY()) *
                    Eigen::AngleAxisd(kappa, Eigen::Vector3d::UnitZ()))
                       .toRotationMatrix();
    }

    /// Turns a vector: matrix() * v.
    [[nodiscard]] const Eigen::Matrix3d& matrix() const { return m_matrix; }

private:
    Eigen::Matrix3d m_matrix = Eigen::Matrix3d::Identity();
};

} // namespace tessik
