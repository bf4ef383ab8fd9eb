#pragma once

/// @file
/// Records and interfaces that headers of the library only name.

namespace tessik {
struct CalibCamera;
struct CameraParams;
struct ExifInfo;
struct GeoData;
struct GlobalShutter;
struct InputImage;
struct VignettingData;
struct gamma_t;

namespace geo {
class OutCoordSystem;
struct ProjectCoordinateSystems;
struct SiteCalibration;
} // namespace geo

namespace radiometry {
class IDarkCurrentModel;
class IVignettingModel;

namespace corrector {
class ICorrector;
} // namespace corrector

namespace sequoia {
struct CMOSParameter;
struct DarkCurrentParameter;
struct ModelParameter;
} // namespace sequoia
} // namespace radiometry
} // namespace tessik
