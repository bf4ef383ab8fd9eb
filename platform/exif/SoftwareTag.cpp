#include "platform/exif/SoftwareTag.h"

#include "platform/exif/TagFile.h"

namespace tessik::exif {
namespace {

constexpr auto kKey = "Exif.Image.ProcessingSoftware";

} // namespace

std::string readProcessingSoftware(const std::string& path) {
    return readTags(path).tags.exifText(kKey);
}

void writeProcessingSoftware(const std::string& path, const std::string& text) {
    writeTags(path, {{kKey, {text}}});
}

} // namespace tessik::exif
