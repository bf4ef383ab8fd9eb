#pragma once

/// @file
/// Where the images of a flight were taken, and how the camera stood, as the metadata say.

#include "flight/input/Flight.h"
#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tessik::flight {

/// The middle of the flight; absent when no image has a position.
std::optional<GeoPosition> centerOf(const Flight& flight);

/// Local axes at a place; without one, not convertible to WGS 84.
geo::ProjectCoordinateSystems coordinateSystemsAt(const std::optional<GeoPosition>& center);

/// The pose of an image: position from the receiver, rotation from the camera's yaw, pitch and roll
/// where they are stated, else a level camera looking down, its upper edge north. Camera axes are
/// those of GlobalShutter. Without a position its coordinates are NaN, which
/// nothing converts.
CameraExternals externalsOf(const InputImage& image, const geo::ProjectCoordinateSystems& systems);

/// The poses of all images, by camera.
std::function<std::shared_ptr<const CalibCamera>(std::uint64_t)>
posesByCamera(const Flight& flight, const geo::ProjectCoordinateSystems& systems);

} // namespace tessik::flight
