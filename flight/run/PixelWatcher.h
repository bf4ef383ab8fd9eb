#pragma once

#include "flight/plan/Plan.h"
#include "platform/camera/InputImage.h"
#include "platform/image/BandMatrix.h"

namespace tessik::flight {

/// Sees the pixels of some images of a plan while they are corrected anyway. Its functions are
/// called from several threads at once; for one image one after the other.
class PixelWatcher {
public:
    PixelWatcher() = default;
    PixelWatcher(const PixelWatcher&) = delete;
    PixelWatcher& operator=(const PixelWatcher&) = delete;
    virtual ~PixelWatcher() = default;

    /// Whether it looks at an image: the others are not shown to it.
    [[nodiscard]] virtual bool wants(const PlannedImage& planned) const = 0;
    /// The image as it was read, DN.
    virtual void
    takeRaw(const PlannedImage& planned, const InputImage& image, const BandImage& bands) = 0;
    /// The same image corrected. It does not come when the correction fails.
    virtual void takeCorrected(const PlannedImage& planned, const BandImage& bands) = 0;
};

} // namespace tessik::flight
