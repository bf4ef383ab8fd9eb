#pragma once

#include "Inputs.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/ExifReader.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessik::app {

/// The images of a flight, their metadata read. The lists have an entry for each input.
struct Flight {
    std::vector<Input> inputs;
    /// What was wrong with arguments ("path: reason"): these have no entry.
    std::vector<std::pair<std::string, std::string>> argumentFailures;
    /// An image that cannot be used is not enabled.
    std::vector<InputImage> images;
    /// Why an image cannot be used; empty = it can.
    std::vector<std::string> failures;
    /// The cameras of the images that can be used.
    CamerasData cameras;
    /// Hours that local times were taken to be ahead of UTC, where a position had to tell.
    std::optional<double> estimatedUtcOffsetHours;
};

/// Says why inputs cannot be used. @return how many
std::size_t sayFailures(const Flight& flight);

/// A camera as the metadata of one of its images state it.
CameraData cameraData(const ExifInfo& exif);

/// Reads the metadata of all inputs, in parallel. Warnings are said; failures are kept.
Flight readFlight(InputList inputs, const exif::ReadOptions& options, int jobs);

} // namespace tessik::app
