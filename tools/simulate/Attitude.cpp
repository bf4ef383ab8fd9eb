#include "simulate/Attitude.h"

#include "platform/math/Angle.h"

#include <Eigen/Geometry>

#include <cmath>

namespace tessik::simulate {
namespace {

Eigen::Matrix3d turn(double degrees, const Eigen::Vector3d& axis) {
    return Eigen::AngleAxisd(degrees * kDegree, axis).toRotationMatrix();
}

Eigen::Matrix3d nedFromBody(const Attitude& attitude) {
    return turn(attitude.yawDegrees, Eigen::Vector3d::UnitZ()) *
           turn(attitude.pitchDegrees, Eigen::Vector3d::UnitY()) *
           turn(attitude.rollDegrees, Eigen::Vector3d::UnitX());
}

/// The angles of a rotation that turns body axes into north, east, down.
Attitude attitudeOf(const Eigen::Matrix3d& ned) {
    return {std::atan2(ned(1, 0), ned(0, 0)) / kDegree,
            std::atan2(-ned(2, 0), std::hypot(ned(2, 1), ned(2, 2))) / kDegree,
            std::atan2(ned(2, 1), ned(2, 2)) / kDegree};
}

} // namespace

Attitude sensorAttitude(const Attitude& camera, const SensorMount& mount) {
    Eigen::Matrix3d bodyFromCamera;
    bodyFromCamera << 0, 1, 0, /**/ 1, 0, 0, /**/ 0, 0, -1;
    const Eigen::Matrix3d cameraFromSensor = turn(mount.omegaDegrees, Eigen::Vector3d::UnitX()) *
                                             turn(mount.phiDegrees, Eigen::Vector3d::UnitY()) *
                                             turn(mount.kappaDegrees, Eigen::Vector3d::UnitZ());
    // From a body's forward, right, down to the sensor's right, forward, normal.
    Eigen::Matrix3d sensorFromBody;
    sensorFromBody << 0, 1, 0, /**/ 1, 0, 0, /**/ 0, 0, -1;
    return attitudeOf(nedFromBody(camera) * bodyFromCamera * cameraFromSensor * sensorFromBody);
}

Attitude turnedInBody(const Attitude& body, const Attitude& turn) {
    return attitudeOf(nedFromBody(body) * nedFromBody(turn));
}

Eigen::Vector3d topOf(const Attitude& attitude) {
    const Eigen::Vector3d top = nedFromBody(attitude) * -Eigen::Vector3d::UnitZ();
    return {top.y(), top.x(), -top.z()};
}

} // namespace tessik::simulate
