#pragma once

/// @file
/// Questions asked of metadata.

#include "platform/exif/ExifInfo.h"
#include "platform/export.h"

#include <Eigen/Core>

namespace tessik {

struct CameraData;

namespace sequoia {
/// Taken by a Parrot Sequoia.
TESSIK_PLATFORM_EXPORT bool isSequoia(const ExifInfo& exif);
/// One of the cameras of a Parrot Sequoia.
TESSIK_PLATFORM_EXPORT bool isSequoia(const CameraData& camera);
} // namespace sequoia

namespace micasense {
/// A camera made by MicaSense.
TESSIK_PLATFORM_EXPORT bool isMicaSense(const ExifInfo& exif);
/// Both coefficients are stated and finite.
TESSIK_PLATFORM_EXPORT bool hasValid3kModel(const MicaSenseRedEdge3kModelData& model);
} // namespace micasense

namespace exif {
/// There is a positive, finite irradiance reading for each band.
TESSIK_PLATFORM_EXPORT bool hasSunIrradiance(const ExifInfo& exif);
/// The irradiance sensor's orientation relative to the camera is known.
TESSIK_PLATFORM_EXPORT bool hasSunIrradianceRelativeOrientation(const ExifInfo& exif);
/// The irradiance sensor's own yaw, pitch and roll are known.
TESSIK_PLATFORM_EXPORT bool hasSunIrradianceYawPitchRoll(const ExifInfo& exif);
/// The readings, one a band, in the sensor's unit; empty when there is none.
TESSIK_PLATFORM_EXPORT Eigen::ArrayXd sunIrradiance(const ExifInfo& exif);
/// The colour matrix is bands x bands and finite.
TESSIK_PLATFORM_EXPORT bool validColorConversionMatrix(const ExifInfo& exif);
} // namespace exif

} // namespace tessik
