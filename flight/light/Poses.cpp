#include "flight/light/Poses.h"

#include "platform/geo/Conversions.h"

#include <cmath>
#include <limits>
#include <unordered_map>

namespace tessik::flight {
namespace {

/// Camera axes in body axes (forward, right, down), for a camera that looks down with the upper
/// edge of its image forward: x is the body's right, y its front, z its top.
Eigen::Matrix3d bodyFromCamera() {
    Eigen::Matrix3d axes;
    axes << 0, 1, 0, 1, 0, 0, 0, 0, -1;
    return axes;
}

/// Receivers that state no height are taken to be on the ellipsoid, which is near enough for the
/// angle of the sun.
GeoPosition withHeight(GeoPosition position) {
    if (std::isnan(position.height)) {
        position.height = 0.0;
    }
    return position;
}

} // namespace

std::optional<GeoPosition> centerOf(const Flight& flight) {
    const GeoPosition* first = nullptr;
    GeoPosition mean;
    double count = 0.0;
    for (const InputImage& image : flight.images) {
        if (!image.enabled || !image.geo.position) {
            continue;
        }
        const GeoPosition position = withHeight(*image.geo.position);
        first = first == nullptr ? &*image.geo.position : first;
        count += 1.0;
        mean.latitude += (position.latitude - mean.latitude) / count;
        // About the first one, so that a flight across the date line has its middle there.
        mean.longitude +=
            (std::remainder(position.longitude - first->longitude, 360.0) - mean.longitude) / count;
        mean.height += (position.height - mean.height) / count;
    }
    if (first == nullptr) {
        return std::nullopt;
    }
    mean.longitude = std::remainder(mean.longitude + first->longitude, 360.0);
    return mean;
}

geo::ProjectCoordinateSystems coordinateSystemsAt(const std::optional<GeoPosition>& center) {
    geo::ProjectCoordinateSystems systems;
    if (center) {
        systems.output = geo::OutCoordSystem(geo::CoordSystem::localAt(*center));
    }
    return systems;
}

CameraExternals externalsOf(const InputImage& image, const geo::ProjectCoordinateSystems& systems) {
    CameraExternals externals;
    externals.position.setConstant(std::numeric_limits<double>::quiet_NaN());
    if (image.geo.position) {
        geo::wgs842out(
            systems.output, systems.site, withHeight(*image.geo.position), externals.position);
    }
    const Eigen::Vector3d level = Eigen::Vector3d::Zero();
    const auto rotation = geo::RotationMatrixFromYawPitchRoll(
        image.exif.cameraYawPitchRoll.value_or(level), externals.position, systems.output);
    externals.rotation = rotation.value_or(Eigen::Matrix3d::Identity()) * bodyFromCamera();
    return externals;
}

std::function<std::shared_ptr<const CalibCamera>(std::uint64_t)>
posesByCamera(const Flight& flight, const geo::ProjectCoordinateSystems& systems) {
    auto cameras =
        std::make_shared<std::unordered_map<std::uint64_t, std::shared_ptr<CalibCamera>>>();
    for (const InputImage& image : flight.images) {
        if (image.enabled) {
            auto& camera = (*cameras)[image.cameraId];
            if (!camera) {
                camera = std::make_shared<CalibCamera>();
            }
            camera->externals[image.path] = externalsOf(image, systems);
        }
    }
    return [cameras](std::uint64_t id) -> std::shared_ptr<const CalibCamera> {
        const auto found = cameras->find(id);
        return found == cameras->end() ? nullptr : found->second;
    };
}

} // namespace tessik::flight
