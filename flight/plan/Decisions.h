#pragma once

#include "flight/light/Project.h"
#include "flight/target/Sensitivities.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::flight {

/// All that decides how the images of a flight are corrected.
struct Decisions {
    Project project;
    SensitivityByCamera sensitivities;

    [[nodiscard]] std::vector<double> sensitivityOf(const InputImage& image) const;
    /// Text that changes when a decision does that changes the pixels of a camera's images.
    [[nodiscard]] std::string fingerprint(std::uint64_t cameraId) const;
};

} // namespace tessik::flight
