#include "platform/exif/Promises.h"

#include <algorithm>

namespace {

/// Values are split at "|": several items of a tag.
tessik::exif::Tags::Value valueOf(std::string_view text) {
    tessik::exif::Tags::Value value;
    for (;;) {
        const auto end = text.find('|');
        value.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return value;
        }
        text.remove_prefix(end + 1);
    }
}

} // namespace

// The bytes are lines "Exif.Photo.FNumber=2.8" or "Xmp.Camera.BandName=Red|Green", which the tags
// of a file are made of: this searches the interpretation of tags, which reading files hardly
// reaches.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessik;
    std::string_view text = fuzz::textOf(data, size);
    exif::TagFile file;
    while (!text.empty()) {
        const std::string line = fuzz::takeLine(text);
        const auto equals = line.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string key = line.substr(0, equals);
        exif::Tags::Value value = valueOf(std::string_view(line).substr(equals + 1));
        const auto dot = key.find('.', 4);
        if (key.rfind("Exif.", 0) == 0) {
            file.tags.addExif(key, std::move(value));
        } else if (key.rfind("Xmp.", 0) == 0 && dot != std::string::npos) {
            file.tags.addXmp(key.substr(4, dot - 4), key.substr(dot + 1), std::move(value));
        }
    }
    fuzz::requireSound(exif::interpret(file));
    return 0;
}
