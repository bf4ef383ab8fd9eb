#pragma once

#include "platform/exif/Tags.h"
#include "platform/export.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessik::exif {

/// Metadata that cannot be read or written. what() is the reason; it does not repeat the path.
class TESSIK_READERS_EXPORT Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Metadata as they stand in a file, kept to be copied.
struct RawMetadata;

/// What a file's metadata blocks hold.
struct TagFile {
    Tags tags;
    std::shared_ptr<const RawMetadata> raw; ///< to be copied; null = none
    std::uint64_t pixelWidth = 0;           ///< px; 0 = the file does not say
    std::uint64_t pixelHeight = 0;          ///< px
    bool isJpeg = false;
    /// What was wrong with the metadata but did not stop the reading, a line each.
    std::vector<std::string> warnings;
};

/// Reads EXIF and XMP of a TIFF or JPEG file. Thread safe.
/// @throws Error when the file cannot be opened or its structure is broken.
TESSIK_READERS_EXPORT TagFile readTags(const std::string& path);

/// One tag to write. Key as in "Exif.Photo.ExposureTime" or "Xmp.Camera.BandName"; EXIF values as
/// text of the tag's own type ("1395/1000000", "2 2"; a whole number does for a fraction); several
/// values make an XMP sequence.
struct NewTag {
    std::string key;
    std::vector<std::string> values;
    bool isSequence = false; ///< an XMP sequence even of one value
};

/// Writes tags into an existing TIFF or JPEG file, in name spaces of our own for the prefixes
/// Camera, MicaSense, DLS, drone-dji and Tessik. Other tags of the file stay. Thread safe.
/// @throws Error when a key is unknown, a value is not of its tag's type, or the file cannot be
///         written.
TESSIK_READERS_EXPORT void writeTags(const std::string& path, const std::vector<NewTag>& tags);

/// Gives a corrected image the metadata of the image that it was made from: what says where, when,
/// with which camera and which geometry it was taken is copied; what describes the raw pixels (dark
/// level, vignetting, sensitivity, gains, irradiance readings, bad pixels, tone curve, colour
/// matrix) is not. The new tags go into our own name space (keys "Xmp.Tessik.Name"), and
/// Camera:IsNormalized is set. The result depends on the arguments only. Thread safe.
/// @param target the bytes of a TIFF file, best without pixels: it is rewritten
/// @param omitted names of XMP tags that do not hold for the corrected image
/// @return the bytes of the file that has them
/// @throws Error when the target cannot be read or written
TESSIK_READERS_EXPORT std::string copyDescription(const RawMetadata& source,
                                                  const std::string& target,
                                                  const std::vector<NewTag>& newTags,
                                                  const std::vector<std::string>& omitted = {});

} // namespace tessik::exif
