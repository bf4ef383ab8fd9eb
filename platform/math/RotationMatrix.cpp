#include "platform/math/RotationMatrix.h"

#include <Eigen/Geometry>

namespace tessik {

void RotationMatrix::setOmegaPhiKappaRelative(double omega, double phi, double kappa) {
    m_matrix = (Eigen::AngleAxisd(omega, Eigen::Vector3d::UnitX()) *
                Eigen::AngleAxisd(phi, Eigen::Vector3d::UnitY()) *
                Eigen::AngleAxisd(kappa, Eigen::Vector3d::UnitZ()))
                   .toRotationMatrix();
}

} // namespace tessik
