#pragma once

#include "platform/image/BandMatrix.h"
#include "radiometry/core/export.h"
#include "radiometry/core/forward.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tessik {
namespace sequoia {} // namespace sequoia

/// Inside tessik::radiometry, `sequoia` is the library's own namespace; what platform calls so is
/// found in it too.
namespace radiometry::sequoia {
using namespace tessik::sequoia; // NOLINT(google-build-using-namespace)
} // namespace radiometry::sequoia
} // namespace tessik

namespace tessik::radiometry {

using tessik::BandImage;
using tessik::BandMatrix;

/// How far an image is corrected. Each level includes those below it; compare with the predicates.
enum class CorrectionType : std::int32_t {
    NoCorrection = 0,
    CameraOnly = 1,                     ///< the camera's own effects
    CameraAndSunIrradiance = 2,         ///< and the reading of the sun-irradiance sensor
    CameraSunIrradianceAndSunAngle = 3, ///< and the angle between that sensor and the sun
};

/// At least CameraOnly.
constexpr bool doAnyCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraOnly;
}
/// At least CameraAndSunIrradiance.
constexpr bool doIrradianceCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraAndSunIrradiance;
}
/// At least CameraSunIrradianceAndSunAngle.
constexpr bool doSunAngleCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraSunIrradianceAndSunAngle;
}

/// The radiometry settings of one camera of a project.
struct Settings {
    CorrectionType correctionType;
};

/// What an image lacks for a correction type: a set of flags.
enum class ImageCorrectionError : std::uint32_t {
    None = 0,
    MissingSunIrradiance = 1,            ///< no irradiance reading
    MissingSunIrradianceOrientation = 2, ///< orientation of the irradiance sensor unknown
    MissingGeolocationValue = 4,         ///< no capture time
};

/// The flags of both sets.
constexpr ImageCorrectionError operator|(ImageCorrectionError a, ImageCorrectionError b) {
    return static_cast<ImageCorrectionError>(static_cast<std::uint32_t>(a) |
                                             static_cast<std::uint32_t>(b));
}
/// The flag is in the set.
constexpr bool has(ImageCorrectionError set, ImageCorrectionError flag) {
    return (static_cast<std::uint32_t>(set) & static_cast<std::uint32_t>(flag)) != 0;
}

/// Smallest and largest value of an image's raw encoding.
struct PixelValueRange {
    PixelValueRange(double smallest, double largest) : min(smallest), max(largest) {}
    double min;
    double max;
};

/// The library's only exception type. what() is "context: text" where a context is known.
class RADIOMETRY_EXPORT error : public std::runtime_error {
public:
    /// @param message "context: text"
    explicit error(const std::string& message) : std::runtime_error(message) {}
};

/// What corrected images hold where there is no valid value.
constexpr float kNoData = -10000.0F;

} // namespace tessik::radiometry
