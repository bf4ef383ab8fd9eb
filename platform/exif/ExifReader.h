#pragma once

#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/Calibration.h"
#include "platform/exif/ExifInfo.h"
#include "platform/exif/TagFile.h"
#include "platform/export.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessik::exif {

/// What the metadata of one image says.
struct ImageMetadata {
    ExifInfo exif;
    GeoData geo;
    /// What could not be understood, or had to be guessed, a line each. The texts hold no numbers
    /// of the image, so that a flight repeats few of them.
    std::vector<std::string> warnings;
    /// Hours that the capture time was taken to be ahead of UTC, where the longitude had to tell. A
    /// flight has one clock: images of one flight whose estimates differ lie astride a border of
    /// the estimate, not of a time zone.
    std::optional<double> estimatedUtcOffsetHours;
    /// To be copied into what is made from the image; null = none.
    std::shared_ptr<const RawMetadata> raw;
};

/// What the user knows and the files do not say.
struct ReadOptions {
    /// Local time minus UTC, hours, of cameras that write local time without a zone; absent = it is
    /// estimated from the longitude, with a warning. Cameras that write UTC, and files that state
    /// their zone, do not need it.
    std::optional<double> utcOffsetHours = std::nullopt;
    /// Images that lend their calibration to others of their body and band; null = none.
    std::shared_ptr<const CalibrationDonors> donors = nullptr;
};

/// Reads and interprets the metadata of a TIFF or JPEG file. Thread safe. @throws Error
TESSIK_PLATFORM_EXPORT ImageMetadata readMetadata(const std::string& path,
                                                  const ReadOptions& options = {});

/// Interprets tags that are already read.
TESSIK_PLATFORM_EXPORT ImageMetadata interpret(const TagFile& file,
                                               const ReadOptions& options = {});

/// Identifier of the camera that took an image: a hash of maker, model, serial number, place in the
/// rig, bands and image size; the same on every machine. Every band file of a rig is a camera.
TESSIK_PLATFORM_EXPORT std::uint64_t cameraId(const ExifInfo& exif);

/// "Make Model band (serial)", as far as stated.
TESSIK_PLATFORM_EXPORT QString cameraName(const ExifInfo& exif);

/// The camera's intrinsics as the metadata state them.
TESSIK_PLATFORM_EXPORT CameraParams cameraParams(const ExifInfo& exif);

/// An image as a project's record. @throws Error as readMetadata
TESSIK_PLATFORM_EXPORT InputImage inputImage(const std::string& path, ImageMetadata metadata);

} // namespace tessik::exif
