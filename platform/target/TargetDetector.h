#pragma once

#include "platform/camera/InputImage.h"
#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"
#include "platform/target/TargetType.h"

#include <QtCore/QString>

#include <memory>
#include <string>
#include <vector>

/// Finding reflectance targets in images.
namespace tessik::target {

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
};

/// What a detector saw.
struct Detection {
    std::vector<DetectedTarget> targets;
    /// What looked like a target and could not be used, a line each: "a QR code that is no
    /// panel's: ...".
    std::vector<std::string> remarks;
};

/// One way to find targets; one file each. Detectors hold no state and are thread safe.
class ITargetDetector {
public:
    ITargetDetector() = default;
    ITargetDetector(const ITargetDetector&) = delete;
    ITargetDetector& operator=(const ITargetDetector&) = delete;
    virtual ~ITargetDetector() = default;

    /// @param raw the image's pixels as read (DN), one matrix a band
    [[nodiscard]] virtual Detection find(const InputImage& image, const BandImage& raw) const = 0;
};

/// All detectors, in the order in which they are asked; the first that finds a target decides.
TESSIK_PLATFORM_EXPORT const std::vector<std::unique_ptr<ITargetDetector>>& targetDetectors();

} // namespace tessik::target
