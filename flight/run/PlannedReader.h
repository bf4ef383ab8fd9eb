#pragma once

#include "flight/plan/Plan.h"
#include "flight/run/ImageCorrector.h"
#include "flight/run/PixelWatcher.h"

#include <memory>
#include <vector>

namespace tessik::flight {

/// An image of a plan, its metadata read again: a plan may be days old, and made elsewhere.
struct ReadImage {
    InputImage image; ///< completed with what the plan knows and the file does not
    std::shared_ptr<const exif::RawMetadata> raw; ///< to be copied into what is made from it
    std::vector<double> reading;                  ///< of the light sensor, as the file states it
};

/// Reads the metadata of a planned image, and tells their warnings.
/// @throws exif::Error; Refusal when it is not the image that was planned, or must not be corrected
ReadImage readPlanned(const Plan& plan, const PlannedImage& planned, Observer& observer);

/// Reads the pixels of an image and corrects them in place.
/// @param watcher sees them before and after, those of thermal images apart; null = nobody does
Applied readAndCorrect(const PlannedImage& planned,
                       ImageCorrector& corrector,
                       PixelWatcher* watcher,
                       InputImage& image,
                       BandImage& bands);

} // namespace tessik::flight
