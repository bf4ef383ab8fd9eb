#pragma once

#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/ExifInfo.h"
#include "platform/exif/TagFile.h"
#include "platform/export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::exif {

/// What the metadata of one image says.
struct ImageMetadata {
    ExifInfo exif;
    GeoData geo;
    /// What could not be understood, a line each; the fields concerned are absent.
    std::vector<std::string> warnings;
};

/// Reads and interprets the metadata of a TIFF or JPEG file. Thread safe. @throws Error
TESSIK_PLATFORM_EXPORT ImageMetadata readMetadata(const std::string& path);

/// Interprets tags that are already read.
TESSIK_PLATFORM_EXPORT ImageMetadata interpret(const TagFile& file);

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
