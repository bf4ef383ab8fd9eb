#pragma once

/// @file
/// Before the images of a project are corrected: does every camera have a correction type, and
/// every image what that type needs? May it be corrected at all? All functions are thread safe.

#include "platform/camera/CameraParams.h"
#include "radiometry/core/Types.h"

#include <QtCore/QString>

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik {

/// What one camera of a project lacks for its correction.
class RADIOMETRY_EXPORT CorrectionError {
public:
    /// @param isOutputUnplaced the output's coordinate system cannot be converted to WGS 84, and
    /// has to be
    explicit CorrectionError(bool isOutputUnplaced) : m_isOutputUnplaced(isOutputUnplaced) {}

    /// Notes what an enabled image lacks, 0 where it lacks nothing.
    void setImageError(std::size_t imageIndex, radiometry::ImageCorrectionError error) {
        m_imageErrors[imageIndex] = error;
    }

    [[nodiscard]] bool isOutputUnplaced() const { return m_isOutputUnplaced; }
    /// An image lacks something, or the output is unplaced.
    [[nodiscard]] bool hasErrors() const;
    [[nodiscard]] bool hasEnabledImages() const { return !m_imageErrors.empty(); }
    /// Every enabled image, by its index in the project.
    [[nodiscard]] const std::map<std::size_t, radiometry::ImageCorrectionError>&
    imageErrors() const {
        return m_imageErrors;
    }

private:
    bool m_isOutputUnplaced;
    std::map<std::size_t, radiometry::ImageCorrectionError> m_imageErrors;
};

namespace text {
/// "no correction", "camera", "camera and sun irradiance", ...
RADIOMETRY_EXPORT QString toString(radiometry::CorrectionType type);

/// What the flags of a set say is missing, with commas; empty for none.
RADIOMETRY_EXPORT QString toString(radiometry::ImageCorrectionError missing);

/// All that is wrong: names the first images that lack something, and what, and counts the others.
/// @param images those that the indices of the error refer to
RADIOMETRY_EXPORT QString toStringFull(const CorrectionError& error,
                                       const std::vector<InputImage>& images);
} // namespace text

namespace radiometry {

/// Gives each camera that has no settings the richest type that its images support. Settings that
/// are there stay as they are.
RADIOMETRY_EXPORT void
verifyValidRadiometricSettings(const CamerasData& cameras,
                               const std::vector<InputImage>& images,
                               std::unordered_map<std::size_t, Settings>& settings);

/// What the enabled images of a camera lack for a type.
RADIOMETRY_EXPORT CorrectionError getCorrectionError(const std::vector<InputImage>& images,
                                                     const geo::OutCoordSystem& output,
                                                     const geo::SiteCalibration& site,
                                                     std::size_t cameraId,
                                                     CorrectionType type);

/// Every camera has settings, an enabled image, and images that lack nothing. Logs the first camera
/// of which that is not true; those after it are not looked at (promised: docs/contract.md,
/// first-camera).
RADIOMETRY_EXPORT bool
haveAllInformationForCorrection(const CamerasData& cameras,
                                const std::vector<InputImage>& images,
                                const std::unordered_map<std::size_t, Settings>& settings,
                                const geo::OutCoordSystem& output,
                                const geo::SiteCalibration& site);

/// Why an image must not be corrected, because the numbers would only look right: it is corrected
/// already, a model lacks what it needs, the light was not measured. For types below the least
/// correction only what is corrected already is refused.
/// @param sequoiaModel parameters of this Sequoia band, or null
/// @return a text for people, without the image's path; empty = nothing speaks against it
RADIOMETRY_EXPORT std::string whyNotToCorrect(const InputImage& image,
                                              CorrectionType type,
                                              const sequoia::ModelParameter* sequoiaModel);

} // namespace radiometry
} // namespace tessik
