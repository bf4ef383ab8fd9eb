#pragma once

#include "platform/target/TargetDetector.h"

#include <memory>

/// The ways to find targets; each in a file of its own.
namespace tessik::target {

/// What the camera itself says of its image: "camera record".
std::unique_ptr<ITargetDetector> makeCameraRecord();

/// Panels beside whose grey surface a QR code stands: "QR panel".
std::unique_ptr<ITargetDetector> makeQrPanel();

} // namespace tessik::target
