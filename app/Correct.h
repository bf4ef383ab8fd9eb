#pragma once

#include "Project.h"
#include "platform/exif/ExifReader.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessik::app {

struct CorrectOptions {
    std::vector<std::string> inputs;
    std::filesystem::path outputFolder;
    ProjectOptions project;
    exif::ReadOptions metadata;
    int jobs = 1;
    bool overwrite = false;
    std::vector<std::string> creationOptions;
};

/// `radiometry correct`. @return exit status
int correct(const CorrectOptions& options);

} // namespace tessik::app
