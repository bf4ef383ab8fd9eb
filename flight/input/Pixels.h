#pragma once

#include "platform/camera/InputImage.h"
#include "platform/image/Raster.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace tessik::flight {

/// Why an image is not corrected. what() does not repeat the path.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Opens the pixels of an image and completes its metadata where only the pixels say it (bands of a
/// JPEG). @throws image::Error; Refusal when pixels and metadata contradict each other
image::Raster openPixels(InputImage& image);

/// Takes the entries of an image's useless bands out of a list that has one a band; other lists
/// stay as they are.
template <typename List>
void eraseUseless(const ExifInfo& exif, List& list) {
    if (list.size() != exif.bandCount) {
        return;
    }
    for (auto band = exif.uselessBands.rbegin(); band != exif.uselessBands.rend(); ++band) {
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(*band));
    }
}

/// What to call a band: "Blue", or "475 nm", or "band 0".
std::string bandName(const InputImage& image, std::size_t band);

} // namespace tessik::flight
