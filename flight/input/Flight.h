#pragma once

#include "flight/Observer.h"
#include "flight/input/ClipLimits.h"
#include "flight/input/Inputs.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/ImageMetadata.h"

#include <Eigen/Core>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

/// Which images, and what the user knows that they do not say.
struct FlightOptions {
    std::vector<std::string> inputs; ///< as expandInputs takes them
    /// A folder whose images are not inputs; empty = no such folder.
    std::filesystem::path excluded;
    exif::ReadOptions metadata;
    /// (omega, phi, kappa) of the irradiance sensor relative to the camera, degrees, for cameras
    /// whose metadata do not state it.
    std::optional<Eigen::Vector3f> sensorMount;
    /// Look into some images for the value at which samples clip, where the metadata do not tell.
    bool looksForClipLimits = true;
    int jobs = 1;
};

/// The images of a flight, their metadata read and completed. The lists have an entry for each
/// input.
struct Flight {
    std::vector<Input> inputs;
    /// An image that cannot be used is not enabled.
    std::vector<InputImage> images;
    /// Why an image cannot be used; empty = it can.
    std::vector<std::string> reasons;
    /// Arguments that stand for no image: they have no entry in the lists.
    std::vector<Failure> argumentFailures;
    /// The cameras of the images that can be used.
    CamerasData cameras;

    /// To read an image of this flight again: with the clock that was found where a position had to
    /// tell it.
    exif::ReadOptions metadata;
    std::optional<Eigen::Vector3f> sensorMount; ///< as in FlightOptions
    /// Where samples clip, of the cameras whose metadata do not tell.
    ClipLimits clipLimits;
    std::vector<Warning> warnings;

    /// Everything that cannot be used, in the order of the arguments.
    [[nodiscard]] std::vector<Failure> failures() const;
};

/// Reads the metadata of all inputs and completes them.
Flight readFlight(const FlightOptions& options, Observer& observer);

/// States what the metadata of an image do not: the orientation of a sensor whose reading is not
/// level already, and where samples clip.
void complete(const std::optional<Eigen::Vector3f>& sensorMount,
              const ClipLimits& clipLimits,
              InputImage& image);

/// A camera as the metadata of one of its images state it.
CameraData cameraData(const ExifInfo& exif);

} // namespace tessik::flight
