#pragma once

#include "radiometry/corrector/detail/Step.h"

namespace tessik::radiometry::corrector {

/// Multiplies every value by a factor: brings the 8-bit images of a camera whose calibration speaks
/// of 16 bits back to that scale. Promised: docs/contract.md, shift-multiplies.
/// Source: docs/formulas.md, The chain, step 1.
class RADIOMETRY_EXPORT IntensityShift : public RowStep {
public:
    static constexpr const char* kName = "IntensityShift"; ///< in accounts

    explicit IntensityShift(float factor) : m_factor(factor) {}

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    float m_factor;
};

} // namespace tessik::radiometry::corrector
