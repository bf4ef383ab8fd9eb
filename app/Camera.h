#pragma once

#include "MapCache.h"
#include "platform/camera/InputImage.h"
#include "platform/image/Raster.h"
#include "radiometry/Types.h"

#include <stdexcept>
#include <string>
#include <vector>

/// From an image's records to the library.
namespace tessik::app {

/// Why an image is not corrected. what() does not repeat the path.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Opens the pixels of an image and completes its metadata where only the pixels say it (bands of a
/// JPEG). @throws image::Error; Refusal when pixels and metadata contradict each other
image::Raster openPixels(InputImage& image);

/// @param isChosen the user asked for this type; else it is what the metadata allow
/// @throws Refusal when correcting this image as `type` would give numbers that only look right
void checkCorrectable(const InputImage& image, radiometry::CorrectionType type, bool isChosen);

/// Corrects the bands of a whole image in place.
void correctBands(const InputImage& image,
                  radiometry::CorrectionType type,
                  MapCache& maps,
                  BandImage& bands);

/// Names of the correctors that the library builds for an image, in order.
struct ChainDescription {
    std::vector<std::string> chain;
    std::vector<std::string> applicable; ///< those of them that would act
};
ChainDescription
describeChain(const InputImage& image, radiometry::CorrectionType type, MapCache& maps);

} // namespace tessik::app
