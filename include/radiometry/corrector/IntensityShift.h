#pragma once

#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

/// Multiplies every value by a factor: brings the 8-bit images of a camera whose calibration speaks
/// of 16 bits back to that scale.
class RADIOMETRY_EXPORT IntensityShift final : public ICorrector {
public:
    explicit IntensityShift(float factor) : m_factor(factor) {}

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    float m_factor;
};

} // namespace tessik::radiometry::corrector
