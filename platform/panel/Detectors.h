#pragma once

/// @file
/// The ways to find targets.

#include "platform/camera/TargetDetector.h"
#include "platform/export.h"

#include <memory>
#include <vector>

namespace tessik::target {

/// Panels beside whose grey surface a QR code stands: "QR panel".
std::unique_ptr<ITargetDetector> makeQrPanel();

/// All detectors, in the order in which they are asked: what the camera itself says of its image
/// ("camera record"), then panels with codes. The first that finds a target decides.
TESSIK_READERS_EXPORT const std::vector<std::unique_ptr<ITargetDetector>>& targetDetectors();

} // namespace tessik::target
