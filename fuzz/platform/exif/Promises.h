#pragma once

#include "Input.h"
#include "platform/camera/ExifInfo.h"
#include "platform/exif/ExifReader.h"

#include <cmath>

namespace tessik::fuzz {

/// What holds of the metadata of any file, whatever its tags are.
inline void requireSound(const exif::ImageMetadata& metadata) {
    const ExifInfo& exif = metadata.exif;
    require(exif.bandNames.empty() || exif.bandNames.size() == exif.bandCount,
            "one name a band, or none");
    require(exif.bands.empty() || exif.bands.size() == exif.bandCount,
            "one wavelength a band, or none");
    for (const std::size_t band : exif.uselessBands) {
        require(band < exif.bandCount, "a useless band is one of the bands");
    }
    require(!exif.isThermal || (exif.sensitivity.empty() && exif.sunIrradiance.empty()),
            "temperatures have nothing to do with light");
    require(!std::isnan(exif.exposureTime), "an exposure time is a number");
    require(std::isfinite(metadata.geo.captureTime), "a capture time is finite");
    if (metadata.geo.position) {
        require(std::abs(metadata.geo.position->latitude) <= 90.0 &&
                    std::abs(metadata.geo.position->longitude) <= 360.0,
                "a position is on the earth");
    }
    if (exif::hasSunIrradiance(exif)) {
        require(exif.sunIrradiance.size() == exif.bandCount &&
                    (exif::sunIrradiance(exif) > 0.0).all(),
                "readings are positive, one a band");
    }
    require(!exif::cameraName(exif).isEmpty(), "a camera has a name");
    require(exif::cameraId(exif) == exif::cameraId(exif), "a camera has one identifier");
    (void)exif::cameraParams(exif);
}

} // namespace tessik::fuzz
