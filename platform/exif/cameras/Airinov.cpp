#include "platform/exif/cameras/Dialects.h"

namespace tessik::exif {
namespace {

bool matchesAirinov(const Tags& tags) {
    return tags.xmpText("Camera", "RigName").rfind("Airinov multiSPEC4C", 0) == 0;
}

void readAirinov(const Tags& /*tags*/, ImageMetadata& metadata) {
    metadata.exif.isAirinovMultispec4C = true;
}

} // namespace

const Dialect kAirinov = {&matchesAirinov, &readAirinov, kLocalClock};

} // namespace tessik::exif
