#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Multiplies every band by one over the relative brightness of each pixel.
/// Source: docs/formulas.md, camera by camera; VignettingModel.h has the models of the brightness.
class RADIOMETRY_EXPORT Vignetting : public RowStep {
public:
    static constexpr const char* kName = "Vignetting"; ///< in accounts

    Vignetting();
    ~Vignetting() override;

    using ICorrector::useData;
    void useData(const datasource::VignettingModel& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
