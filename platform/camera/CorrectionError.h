#pragma once

#include "platform/export.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace tessik {

struct InputImage;

namespace radiometry {
enum class ImageCorrectionError : std::uint32_t; // a set of flags, complete in radiometry/Types.h
} // namespace radiometry

/// What one camera of a project lacks for its correction.
class TESSIK_PLATFORM_EXPORT CorrectionError {
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

/// What the flags of a set say is missing, with commas; empty for none.
TESSIK_PLATFORM_EXPORT QString toString(radiometry::ImageCorrectionError missing);

/// All that is wrong: names the first images that lack something, and what, and counts the others.
/// @param images those that the indices of the error refer to
TESSIK_PLATFORM_EXPORT QString toStringFull(const CorrectionError& error,
                                            const std::vector<InputImage>& images);

} // namespace text
} // namespace tessik
