#pragma once

#include "radiometry/corrector/detail/Step.h"

namespace tessik::radiometry::corrector {

/// Turns every NaN into kNoData. Infinities stay.
/// Source: docs/formulas.md, The chain, step 11.
class RADIOMETRY_EXPORT ConvertNanToNodata : public RowStep {
public:
    static constexpr const char* kName = "ConvertNanToNodata"; ///< in accounts

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;
};

} // namespace tessik::radiometry::corrector
