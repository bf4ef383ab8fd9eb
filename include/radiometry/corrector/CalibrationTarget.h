#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Divides each band by its sensitivity, the value of a surface of reflectance 1: values become
/// reflectance.
/// Source: the empirical line through the origin; Smith and Milton 1999, docs/formulas.md.
class RADIOMETRY_EXPORT CalibrationTarget : public RowStep {
public:
    static constexpr const char* kName = "CalibrationTarget"; ///< in accounts

    CalibrationTarget();
    ~CalibrationTarget() override;

    using ICorrector::useData;
    void useData(const datasource::CalibrationTarget& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
