#pragma once

#include "platform/camera/VignettingData.h"
#include "platform/export.h"
#include "platform/image/DataType.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace tessik {

/// A camera's intrinsic parameters, as far as radiometry needs them.
struct TESSIK_PLATFORM_EXPORT CameraParams {
    std::uint64_t width = 0;      ///< px
    std::uint64_t height = 0;     ///< px
    double principalPointX = 0.0; ///< px, from the centre of the first pixel
    double principalPointY = 0.0; ///< px
    VignettingData vignetting;    ///< empty coefficients = none
    /// Smallest and largest sample value that the camera writes, where it does not use the full
    /// range of the stored type (12 bits in a 16-bit file); absent = the type's range.
    std::optional<std::pair<double, double>> storedRange;

    /// The description for an aperture. One description serves all f-numbers of the fixed lenses
    /// that are supported.
    [[nodiscard]] VignettingData vignettingModel(double apertureFNumber) const;

    /// The camera's own sample range for images stored as `type`.
    /// @return false, and min and max untouched, when the camera states none.
    bool pixelValue(DataType type, double& min, double& max) const;
};

} // namespace tessik
