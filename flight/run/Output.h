#pragma once

#include "flight/target/Sensitivity.h"
#include "platform/camera/InputImage.h"
#include "platform/exif/TagFile.h"
#include "platform/image/BandMatrix.h"
#include "radiometry/core/Types.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessik::flight {

/// What an output was made from and with: outputs of equal fingerprints are equal.
/// @param settings text of what changes pixels
/// @param creationOptions GeoTIFF creation options
/// @throws std::filesystem::filesystem_error when there is no such input
std::string fingerprint(const std::filesystem::path& input,
                        const std::string& settings,
                        const std::vector<std::string>& creationOptions);

/// The fingerprint that an output bears; empty when the file is missing or has no fingerprint.
std::string fingerprintOf(const std::filesystem::path& output);

/// Writes corrected bands as a float32 TIFF with no-data value, band names and wavelengths, the
/// metadata of the source, and a mark of what was done. It appears whole or not at all.
/// @param metadata of the source
/// @param uncertainty of its values, one a band of the source, or empty
/// @throws image::Error, exif::Error
void writeOutput(const std::filesystem::path& output,
                 const InputImage& image,
                 const exif::RawMetadata& metadata,
                 const BandImage& bands,
                 const std::string& type,
                 const std::vector<BandUncertainty>& uncertainty,
                 const std::string& fingerprint,
                 const std::vector<std::string>& creationOptions);

} // namespace tessik::flight
