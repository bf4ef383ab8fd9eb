#pragma once

/// @file
/// What finds reflectance targets in images. Implementations are in platform/panel.

#include "platform/camera/InputImage.h"
#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"

#include <Eigen/Core>
#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessik {

/// Kinds of reflectance targets. Every other value is an unknown kind; panels with a QR code are
/// of none of the named ones.
enum class TargetType : std::int32_t {
    Tags12 = 0,
    Tags6 = 1,
    AirCalib = 2,
    Unknown = 3,
};

/// The type that a text of text::toString names; none for any other text.
TESSIK_PLATFORM_EXPORT std::optional<TargetType> targetTypeFromText(const QString& name);

namespace text {
/// "tags_12", "tags_6", "AirCalib", "unknown".
TESSIK_PLATFORM_EXPORT QString toString(TargetType type);
} // namespace text

namespace target {

/// Corners in px, from the centre of the first pixel, x to the right, y down.
using Corners = std::vector<Eigen::Vector2d>;

/// A target that was found in an image.
struct DetectedTarget {
    QString detector; ///< how it was found: "camera record", "QR panel", ...
    TargetType type = TargetType::Unknown;
    QString id;         ///< serial of the physical target; empty = not known
    image::Ring region; ///< the surface of known reflectance, in pixels of the image
    image::Ring code;   ///< outline of the code that led to it; empty = none
    /// Reflectance of the target, one value a band of the image, 0..1; empty = the target does not
    /// say.
    std::vector<double> reflectance;
    /// Of the code that led to it, as it stands there; empty = none.
    std::string codeText = {};
    /// Of that code: top left, bottom left, bottom right, top right as it is printed.
    Corners codeCorners = {};
};

/// A target of the same capture, in the image of another band.
struct SiblingTarget {
    const DetectedTarget& target;
    const BandImage& raw; ///< the pixels that it was found in
    QString band;         ///< for people: "Blue"
};

/// What a detector saw.
struct Detection {
    std::vector<DetectedTarget> targets;
    /// What looked like a target and could not be used, a line each: "a QR code that is no
    /// panel's: ...".
    std::vector<std::string> remarks;
};

/// One way to find targets. Detectors hold no state and are thread safe.
class ITargetDetector {
public:
    ITargetDetector() = default;
    ITargetDetector(const ITargetDetector&) = delete;
    ITargetDetector& operator=(const ITargetDetector&) = delete;
    virtual ~ITargetDetector() = default;

    /// @param raw the image's pixels as read (DN), one matrix a band
    [[nodiscard]] virtual Detection find(const InputImage& image, const BandImage& raw) const = 0;

    /// The same physical target in another band of the capture, in which find() has not seen it: a
    /// rig's cameras stand side by side, so that it lies at about the same place.
    /// @return at most one target; none where the detector does not know such targets
    [[nodiscard]] virtual Detection findLike(const InputImage& /*image*/,
                                             const BandImage& /*raw*/,
                                             const SiblingTarget& /*sibling*/) const {
        return {};
    }
};

} // namespace target
} // namespace tessik
