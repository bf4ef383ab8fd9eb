#include "core/Fail.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/Conversions.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"

#include <algorithm>
#include <cmath>

namespace tessik::radiometry::detail {
namespace {

bool hasTime(const InputImage& image) {
    return image.geo.captureTime != 0.0 && std::isfinite(image.geo.captureTime);
}

/// The first and the last `count` of a list, each once.
std::vector<std::uint64_t> endsOf(const std::vector<std::uint64_t>& list, std::size_t count) {
    std::vector<std::uint64_t> ends;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i < count || list.size() - i <= count) {
            ends.push_back(list[i]);
        }
    }
    return ends;
}

} // namespace

GlobalShutter
horizontalCameraAtGpsPosition(const GeoData& geo,
                              const geo::ProjectCoordinateSystems& coordinateSystems) {
    if (!geo.position) {
        fail("No GPS position");
    }
    GeoPosition wgs84 = *geo.position;
    if (std::isnan(wgs84.height)) {
        wgs84.height = 0.0;
    }
    const geo::OutCoordSystem& out = coordinateSystems.output;
    Eigen::Vector3d position;
    if (!geo::wgs842out(out, coordinateSystems.site, wgs84, position)) {
        fail("Unable to convert from WGS-84 to output coordinate system");
    }
    Eigen::Vector3d north;
    Eigen::Vector3d east;
    Eigen::Vector3d up;
    if (!out.getTangentAxes(position, north, east, up)) {
        fail("Unable to obtain east, north, up axes for output coordinate system");
    }
    GlobalShutter pose;
    pose.position = position - out.proc2out(Eigen::Vector3d::Zero());
    pose.rotation << east, north, up; // x right, y to the upper edge, z out of the back
    return pose;
}

std::unordered_map<std::uint64_t, std::vector<std::uint64_t>>
findFirstAndLastImagesPerSensor(const std::vector<InputImage>& images, std::size_t count) {
    std::unordered_map<std::uint64_t, std::vector<std::uint64_t>> byCamera;
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (images[i].enabled) {
            byCamera[images[i].cameraId].push_back(i);
        }
    }
    for (auto& [camera, indices] : byCamera) {
        const auto isTimed = [&images](std::uint64_t i) { return hasTime(images[i]); };
        if (std::all_of(indices.begin(), indices.end(), isTimed)) {
            std::stable_sort(
                indices.begin(), indices.end(), [&images](std::uint64_t a, std::uint64_t b) {
                    return images[a].geo.captureTime < images[b].geo.captureTime;
                });
        }
        indices = endsOf(indices, count);
    }
    return byCamera;
}

} // namespace tessik::radiometry::detail
