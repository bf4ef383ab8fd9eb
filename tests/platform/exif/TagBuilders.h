#pragma once

#include "platform/exif/TagFile.h"

#include <string>
#include <utility>
#include <vector>

namespace tessik::test {

/// (key, value); keys as in "Exif.Photo.FNumber" or "Xmp.Camera.BandName".
using TagList = std::vector<std::pair<std::string, exif::Tags::Value>>;

/// The tags of a 16-bit image of 40 x 30 pixels, and those given.
inline exif::TagFile tagFile(const TagList& tags, int bandCount = 1) {
    exif::TagFile file;
    file.tags.addExif("Exif.Image.ImageWidth", {"40"});
    file.tags.addExif("Exif.Image.ImageLength", {"30"});
    file.tags.addExif("Exif.Image.BitsPerSample", {"16"});
    file.tags.addExif("Exif.Image.SamplesPerPixel", {std::to_string(bandCount)});
    for (const auto& [key, value] : tags) {
        if (key.rfind("Exif.", 0) == 0) {
            file.tags.addExif(key, value);
        } else {
            const auto dot = key.find('.', 4);
            file.tags.addXmp(key.substr(4, dot - 4), key.substr(dot + 1), value);
        }
    }
    return file;
}

} // namespace tessik::test
