#pragma once

#include "flight/target/TargetRecord.h"
#include "platform/camera/InputImage.h"
#include "radiometry/core/Types.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::flight {

/// The sensitivity of one camera, and where it comes from.
struct CameraSensitivity {
    std::uint64_t cameraId = 0;
    std::string name;
    /// What the targets' images were corrected with: it holds for images corrected likewise.
    radiometry::CorrectionType type = radiometry::CorrectionType::NoCorrection;
    std::vector<double> sensitivity; ///< one a band, finite and positive
    std::string source;              ///< one line for people
    std::vector<TargetRecord> targets;
};

/// What `calibrate -o` writes and `correct --sensitivity` reads.
struct SensitivityFile {
    std::vector<CameraSensitivity> cameras;
};

/// @throws std::runtime_error that names the file
void writeSensitivityFile(const std::string& path, const SensitivityFile& file);

/// @throws std::runtime_error that names file, field and what is wrong
SensitivityFile readSensitivityFile(const std::string& path);

/// The sensitivity to correct an image with; empty when the file has no sensitivity for its camera.
/// @throws Refusal where it would give numbers that only look right: measured with another
/// correction type, or on another number of bands
std::vector<double> sensitivityFor(const InputImage& image,
                                   radiometry::CorrectionType type,
                                   const SensitivityFile& file);

} // namespace tessik::flight
