#pragma once

/// @file
/// What is known of a camera before any of its images is looked at.

#include "platform/camera/BandInfo.h"
#include "platform/image/DataType.h"

#include <Eigen/Core>
#include <QtCore/QString>

#include <cstdint>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

namespace tessik {

/// What the coefficients of a VignettingData are.
enum class VignettingType : std::int32_t {
    None = 0,             ///< no description
    RadialPolynomial = 1, ///< of the distance to the centre, px
    Polynomial2D = 2,     ///< of column / width and row / height
    Sequoia = 3,          ///< a grid of two interleaved row fields
};

/// How a camera's brightness falls off over the image: relative brightness, to divide by.
struct VignettingData {
    /// Radial: one column, power of the radius in px = row. 2D: row = power of x = column/width,
    /// column = power of y = row/height. Sequoia: a coarse grid of brightness. Empty: no
    /// description.
    Eigen::MatrixXd coefficients;
    double centerX = 0.0; ///< px; 0 = not given, the principal point is used
    double centerY = 0.0; ///< px; 0 = not given
    VignettingType type = VignettingType::None;
};

/// Where samples clip, for a camera whose limit is another one in each row: at
/// atFirstRow + perRow * row and above, DN.
struct ClipLine {
    double atFirstRow = 0.0; ///< DN
    double perRow = 0.0;     ///< DN

    [[nodiscard]] double ofRow(double row) const { return atFirstRow + perRow * row; }
};

/// A camera's intrinsic parameters, as far as radiometry needs them.
struct CameraParams {
    std::uint64_t width = 0;      ///< px
    std::uint64_t height = 0;     ///< px
    double principalPointX = 0.0; ///< px, from the centre of the first pixel
    double principalPointY = 0.0; ///< px
    VignettingData vignetting;    ///< empty coefficients = none
    /// Smallest and largest sample value that the camera writes into its images, where it does not
    /// use the full range of their type (12 bits in a 16-bit file); absent = the type's range. Who
    /// states it knows the type: the range of a camera's 16-bit images is not that of its 8-bit
    /// ones.
    std::optional<std::pair<double, double>> storedRange;
    /// Samples at or above it are saturated, besides those outside the range; absent = no line.
    std::optional<ClipLine> clipLine;

    /// The description for an aperture. One description serves all f-numbers of the fixed lenses
    /// that are supported.
    [[nodiscard]] VignettingData vignettingModel(double /*apertureFNumber*/) const {
        return vignetting;
    }

    /// The camera's own sample range, which holds for the images that it describes, of whatever
    /// type they are.
    /// @return false, and min and max untouched, when the camera states none.
    bool pixelValue(DataType /*type*/, double& min, double& max) const {
        if (storedRange) {
            std::tie(min, max) = *storedRange;
        }
        return storedRange.has_value();
    }
};

/// One camera of a project.
struct CameraData {
    QString uniqueName; ///< for people
    QString make;       ///< empty = not known
    QString model;      ///< empty = not known
    bands_t bands;
    CameraParams params;
};

/// Cameras by identifier, in ascending order.
using CamerasData = std::map<std::uint64_t, CameraData>;

} // namespace tessik
