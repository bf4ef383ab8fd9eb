#pragma once

#include "radiometry/Types.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessik::app {

struct CorrectOptions {
    std::vector<std::string> inputs;
    std::filesystem::path outputFolder;
    /// Absent = the richest correction that a camera's metadata support.
    std::optional<radiometry::CorrectionType> type;
    int jobs = 1;
    bool overwrite = false;
    std::vector<std::string> creationOptions;
};

/// `radiometry correct`. @return exit status
int correct(const CorrectOptions& options);

} // namespace tessik::app
