#pragma once

#include "Inputs.h"
#include "platform/camera/CamerasData.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/ExifReader.h"

#include <string>
#include <vector>

namespace tessik::app {

/// The images of a flight, their metadata read. The lists have an entry for each input.
struct Flight {
    std::vector<Input> inputs;
    /// An image that cannot be used is not enabled.
    std::vector<InputImage> images;
    /// Why an image cannot be used; empty = it can.
    std::vector<std::string> failures;
    /// The cameras of the images that can be used.
    CamerasData cameras;
};

/// Reads the metadata of all inputs, in parallel. Warnings are said; failures are kept.
Flight readFlight(std::vector<Input> inputs, const exif::ReadOptions& options, int jobs);

} // namespace tessik::app
