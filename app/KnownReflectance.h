#pragma once

#include "Calibrate.h"
#include "platform/camera/InputImage.h"
#include "platform/camera/TargetDetector.h"

#include <string>
#include <vector>

namespace tessik::app {

/// The reflectance that the user states, by value or by the name of a stored target.
class KnownReflectance {
public:
    /// @param options must outlive this
    explicit KnownReflectance(const CalibrateOptions& options) : m_options(options) {}

    /// @throws std::runtime_error when it concerns no band of any of these images, or names a
    /// target of which nothing is stored for one: a slip of the pen would go unnoticed
    void verify(const std::vector<InputImage>& images) const;

    /// One value a band of the image, NaN where the user states none.
    /// @throws Refusal when the target found is not the one that he names
    [[nodiscard]] std::vector<double> of(const InputImage& image,
                                         const target::DetectedTarget& found) const;

private:
    const CalibrateOptions& m_options;
};

/// "Blue", or "475 nm", or "band 0".
std::string bandName(const InputImage& image, std::size_t band);

} // namespace tessik::app
