#pragma once

#include "platform/exif/ExifReader.h"

#include <string>
#include <vector>

namespace tessik::app {

struct InspectOptions {
    std::vector<std::string> inputs;
    exif::ReadOptions metadata;
    bool json = false;
    int jobs = 1;
};

/// `radiometry inspect`. @return exit status
int inspect(const InspectOptions& options);

} // namespace tessik::app
