#pragma once

#include "platform/camera/InputImage.h"
#include "platform/exif/TagFile.h"

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

/// An image whose calibration tags stand in for those that older firmware did not write.
struct CalibrationDonor {
    std::string path;
    ExifInfo exif;
};
/// Donors in the order in which they were given.
using CalibrationDonors = std::vector<CalibrationDonor>;

/// What the user knows and the files do not say.
struct ReadOptions {
    /// Local time minus UTC, hours, of cameras that write local time without a zone; absent = it is
    /// estimated from the longitude, with a warning. Cameras that write UTC, and files that state
    /// their zone, do not need it.
    std::optional<double> utcOffsetHours = std::nullopt;
    /// Images that lend their calibration to others of their body and band; null = none.
    std::shared_ptr<const CalibrationDonors> donors = nullptr;
};

} // namespace tessik::exif
