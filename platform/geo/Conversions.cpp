#include "platform/geo/Conversions.h"

#include <Eigen/Geometry>

#include <cmath>

namespace tessik::geo {
namespace {

bool isUsable(const SiteCalibration& site) {
    return std::isfinite(site.scale) && site.scale > 0.0 && site.rotation.allFinite() &&
           site.translation.allFinite();
}

/// Promised: docs/contract.md, divide-first.
double radians(double degrees) {
    return degrees / 180.0 * 3.141592653589793;
}

} // namespace

bool isConvertibleToWGS84(const OutCoordSystem& out, const SiteCalibration& site) {
    return out.isConvertibleToWGS84() && isUsable(site);
}

bool out2wgs84(const OutCoordSystem& out,
               const SiteCalibration& site,
               const Eigen::Vector3d& position,
               GeoPosition& result) {
    return isConvertibleToWGS84(out, site) && out.toWGS84(site.toSystem(position), result);
}

bool wgs842out(const OutCoordSystem& out,
               const SiteCalibration& site,
               const GeoPosition& position,
               Eigen::Vector3d& result) {
    Eigen::Vector3d system;
    if (!isConvertibleToWGS84(out, site) || !out.fromWGS84(position, system)) {
        return false;
    }
    result = site.toOutput(system);
    return true;
}

std::optional<Eigen::Matrix3d> RotationMatrixFromYawPitchRoll(const Eigen::Vector3d& yawPitchRoll,
                                                              const Eigen::Vector3d& position,
                                                              const OutCoordSystem& outCS) {
    Eigen::Vector3d north;
    Eigen::Vector3d east;
    Eigen::Vector3d up;
    if (!yawPitchRoll.allFinite() || !outCS.getTangentAxes(position, north, east, up)) {
        return std::nullopt;
    }
    Eigen::Matrix3d outFromNed;
    outFromNed << north, east, -up;
    const Eigen::Quaterniond nedFromBody =
        Eigen::AngleAxisd(radians(yawPitchRoll[0]), Eigen::Vector3d::UnitZ()) *
        Eigen::AngleAxisd(radians(yawPitchRoll[1]), Eigen::Vector3d::UnitY()) *
        Eigen::AngleAxisd(radians(yawPitchRoll[2]), Eigen::Vector3d::UnitX());
    return outFromNed * nedFromBody.toRotationMatrix();
}

} // namespace tessik::geo
