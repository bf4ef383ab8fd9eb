#pragma once

#include <Eigen/Core>

namespace tessik::simulate {

/// How a body is turned. Its axes are x forward, y right, z down. Starting from north, east, down,
/// it is turned by yaw about down, then by pitch about its right, then by roll about its forward
/// axis: Rz(yaw) Ry(pitch) Rx(roll).
struct Attitude {
    double yawDegrees = 0.0;   ///< from north, clockwise seen from above
    double pitchDegrees = 0.0; ///< nose up
    double rollDegrees = 0.0;  ///< right side down
};

/// How an irradiance sensor is mounted relative to a camera: Rx(omega) Ry(phi) Rz(kappa) turns the
/// sensor's axes into the camera's. Camera axes: x to the right of the image, y to its upper edge,
/// z out of the back of the camera. Sensor axes: x right, y forward, z its normal. So the normal is
/// (sin phi, -sin omega cos phi, cos omega cos phi) in camera axes. Without a turn the sensor looks
/// up when the camera looks down.
struct SensorMount {
    double omegaDegrees = 0.0;
    double phiDegrees = 0.0;
    double kappaDegrees = 0.0;
};

/// Attitude of a sensor on a camera that is fixed to the aircraft: the camera looks at the
/// aircraft's down and the image's top points forward. The sensor's normal is its own up.
Attitude sensorAttitude(const Attitude& camera, const SensorMount& mount);

/// The attitude of a body that is turned further, about its own axes.
Attitude turnedInBody(const Attitude& body, const Attitude& turn);

/// Where the top of a body points, in east, north, up.
Eigen::Vector3d topOf(const Attitude& attitude);

} // namespace tessik::simulate
