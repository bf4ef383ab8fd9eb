#pragma once

/// @file
/// The distance of one reading of an irradiance sensor from the model of it:
///
///     E = P(t) ((1 - epsilon) w + epsilon c),   w = 1/2 + sign(q) q^2 / 2
///
/// with P the drift of the overall illumination, a polynomial in time; epsilon the fraction of
/// direct sunlight; c the cosine of the sun's incidence on the sensor, 0 when the sun is behind it;
/// q the cosine of the sensor's tilt. The signed square lets a sensor that faces down see less sky,
/// never a negative share of it (promised: docs/contract.md, signed-square).

#include <Eigen/Core>

#include <cmath>
#include <cstdint>

namespace tessik::radiometry::detail {

/// c0 + c1 t + ... by Horner's rule.
template <typename T>
T drift(const T* coefficients, std::uint32_t count, double t) {
    T value = coefficients[count - 1];
    for (std::uint32_t i = count - 1; i > 0; --i) {
        value = value * t + coefficients[i - 1];
    }
    return value;
}

/// What the sensor sees of a light whose level is one.
template <typename T, typename Cosine>
T sensedShare(const T& epsilon, const Cosine& cosIncidence, const Cosine& cosTilt) {
    const Cosine signedSquare = cosTilt < 0.0 ? -cosTilt * cosTilt : cosTilt * cosTilt;
    return (1.0 - epsilon) * (0.5 + 0.5 * signedSquare) + epsilon * cosIncidence;
}

/// Third column of the rotation Rx(omega) Ry(phi) Rz(kappa): a turn by kappa about the sensor's own
/// normal leaves the normal where it is.
template <typename T>
Eigen::Matrix<T, 3, 1> normalInCamera(const T* omegaPhiKappaDegrees) {
    using std::cos;
    using std::sin;
    const double radians = 3.14159265358979323846 / 180.0;
    const T omega = omegaPhiKappaDegrees[0] * radians;
    const T phi = omegaPhiKappaDegrees[1] * radians;
    return {sin(phi), -sin(omega) * cos(phi), cos(omega) * cos(phi)};
}

/// A reading of a sensor whose attitude is known. Blocks: epsilon; drift coefficients.
struct SunlightResidual {
    double time;
    double cosIncidence; ///< 0..1
    double cosTilt;
    double irradiance;
    std::uint32_t coefficientCount;

    template <typename T>
    bool operator()(const T* const* blocks, T* residual) const {
        const T level = drift(blocks[1], coefficientCount, time);
        residual[0] = irradiance - level * sensedShare(blocks[0][0], cosIncidence, cosTilt);
        return true;
    }
};

/// A reading of a sensor whose mounting on the camera is to be found with the fraction. Blocks:
/// epsilon; drift coefficients; omega, phi, kappa of the sensor relative to the camera, degrees.
struct SunlightAngleResidual {
    double time;
    Eigen::Vector3d sunRay; ///< of unit length, like all vectors here in output axes
    Eigen::Vector3d up;     ///< of unit length
    Eigen::Matrix3d cameraRotation;
    double irradiance;
    std::uint32_t coefficientCount;

    template <typename T>
    bool operator()(const T* const* blocks, T* residual) const {
        const Eigen::Matrix<T, 3, 1> normal = cameraRotation.cast<T>() * normalInCamera(blocks[2]);
        const T incidence = normal.dot(sunRay.cast<T>());
        const T cosIncidence = incidence < 0.0 ? T(0.0) : incidence;
        const T cosTilt = normal.dot(up.cast<T>());
        const T level = drift(blocks[1], coefficientCount, time);
        residual[0] = irradiance - level * sensedShare(blocks[0][0], cosIncidence, cosTilt);
        return true;
    }
};

} // namespace tessik::radiometry::detail
