#pragma once

#include "platform/exif/ExifReader.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <optional>
#include <string>
#include <vector>

namespace tessik::app {

struct ValidateOptions {
    std::vector<std::string> inputs;
    exif::ReadOptions metadata;
    std::optional<Eigen::Vector3f> sensorMount;
    /// Absent = the richest that a camera's metadata support.
    std::optional<radiometry::CorrectionType> type;
    bool json = false;
    int jobs = 1;
};

/// `radiometry validate`: per camera the type, and what its images lack for it. @return exit status
int validate(const ValidateOptions& options);

} // namespace tessik::app
