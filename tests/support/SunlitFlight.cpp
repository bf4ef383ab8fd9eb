#include "support/SunlitFlight.h"

#include "support/Almanac.h"
#include "support/Support.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <random>

namespace tessik::test {
namespace {

constexpr double kStart = 1625034600.0; // 2021-06-30 06:30 UTC, the sun 28 degrees high
const GeoPosition kSite{46.5, 7.5, 500.0};

/// Rx(omega) Ry(phi) Rz(kappa), degrees.
Eigen::Matrix3d turned(const Eigen::Vector3d& omegaPhiKappa) {
    const Eigen::Vector3d angles = omegaPhiKappa * kDegree;
    return (Eigen::AngleAxisd(angles.x(), Eigen::Vector3d::UnitX()) *
            Eigen::AngleAxisd(angles.y(), Eigen::Vector3d::UnitY()) *
            Eigen::AngleAxisd(angles.z(), Eigen::Vector3d::UnitZ()))
        .toRotationMatrix();
}

/// From body axes (forward, right, down) to east, north, up.
Eigen::Matrix3d bodyToEnu(const Eigen::Vector3d& yawPitchRoll) {
    const Eigen::Vector3d angles = yawPitchRoll * kDegree;
    Eigen::Matrix3d nedToEnu;
    nedToEnu << 0, 1, 0, 1, 0, 0, 0, 0, -1;
    return nedToEnu * (Eigen::AngleAxisd(angles.x(), Eigen::Vector3d::UnitZ()) *
                       Eigen::AngleAxisd(angles.y(), Eigen::Vector3d::UnitY()) *
                       Eigen::AngleAxisd(angles.z(), Eigen::Vector3d::UnitX()))
                          .toRotationMatrix();
}

/// Nose down on the legs, banked in every fifth part of them.
Eigen::Vector3d attitude(std::size_t capture, std::mt19937& generator) {
    std::normal_distribution<double> gust(0.0, 2.0);
    const std::size_t leg = capture / 20;
    const bool isTurn = capture % 20 >= 16;
    const double yaw = 80.0 + 180.0 * static_cast<double>(leg % 2) + gust(generator);
    const double pitch = (isTurn ? -5.0 : -12.0) + gust(generator);
    const double roll = (isTurn ? 15.0 : 0.0) + gust(generator);
    return {yaw, pitch, roll};
}

/// Unit vector towards the sun in axes east, north, up.
Eigen::Vector3d sunDirection(double time) {
    const AlmanacAngle sun(time, kSite.latitude * kDegree, kSite.longitude * kDegree);
    const double horizontal = std::cos(sun.altitude);
    return {horizontal * std::sin(sun.azimuth),
            horizontal * std::cos(sun.azimuth),
            std::sin(sun.altitude)};
}

double level(const std::vector<double>& coefficients, double x) {
    double sum = 0.0;
    for (std::size_t i = 0; i < coefficients.size(); ++i) {
        sum += coefficients[i] * std::pow(x, static_cast<double>(i));
    }
    return sum;
}

} // namespace

SunlitFlight::SunlitFlight(const FlightPlan& plan)
    : poses(std::make_shared<CalibCamera>()), out(geo::CoordSystem::localAt(kSite)) {
    settings[kCamera] = {radiometry::CorrectionType::CameraSunIrradianceAndSunAngle};
    for (std::size_t band = 0; band < plan.fractions.size(); ++band) {
        cameras[kCamera].bands.push_back({500.0 + 50.0 * static_cast<double>(band), 20.0});
    }
    // Camera axes: x to the right of the flight, y forward, z up.
    Eigen::Matrix3d cameraToBody;
    cameraToBody << 0, 1, 0, 1, 0, 0, 0, 0, -1;
    const Eigen::Matrix3d mounting = turned(plan.mounting);

    std::mt19937 generator(plan.seed);
    std::normal_distribution<double> noise(0.0, plan.noise);
    for (std::size_t i = 0; i < plan.captures; ++i) {
        const std::size_t step = plan.staysAsItIs ? 0 : i;
        const double x = static_cast<double>(step) /
                         static_cast<double>(std::max<std::size_t>(plan.captures, 2) - 1);
        const Eigen::Vector3d yawPitchRoll =
            plan.staysAsItIs ? Eigen::Vector3d(30, 6, -4) : attitude(step, generator);
        CameraExternals externals;
        externals.rotation = bodyToEnu(yawPitchRoll) * cameraToBody;
        externals.position = {200.0 * x, 150.0 * x, 100.0};

        InputImage image;
        image.path = QStringLiteral("image%1.tif").arg(i);
        image.cameraId = kCamera;
        image.geo.captureTime = kStart + plan.duration * x;
        image.exif = plainExif(5, 3, plan.fractions.size());
        image.exif.cameraYawPitchRoll = yawPitchRoll;
        image.exif.sunSensorRelativeOrientation = plan.mounting.cast<float>();
        const Eigen::Vector3d normal = externals.rotation * mounting.col(2);
        const Eigen::Vector3d sun = sunDirection(image.geo.captureTime);
        const double direct = std::max(0.0, normal.dot(sun));
        const double diffuse = 0.5 + 0.5 * normal.z() * std::abs(normal.z());
        for (const double fraction : plan.fractions) {
            const double reading =
                level(plan.drift, x) * ((1.0 - fraction) * diffuse + fraction * direct);
            image.exif.sunIrradiance.push_back(reading * (1.0 + noise(generator)));
        }
        poses->externals[image.path] = externals;
        images.push_back(std::move(image));
    }
}

radiometry::SunlightFractionFitResult
SunlitFlight::fit(std::uint64_t band, unsigned degree, bool useSensorAngles) const {
    return radiometry::computeDirectSunlightFractionForBand(
        {{kCamera, band}},
        images,
        out,
        {},
        [this](std::uint64_t id) { return id == kCamera ? poses : nullptr; },
        settings,
        degree,
        useSensorAngles);
}

std::map<BandInfo, radiometry::SunlightFractionFitResult>
SunlitFlight::fitAll(unsigned degree) const {
    return radiometry::computeDirectSunlightFraction(
        images,
        cameras,
        settings,
        out,
        {},
        [this](std::uint64_t /*id*/) { return poses; },
        degree,
        false);
}

} // namespace tessik::test
