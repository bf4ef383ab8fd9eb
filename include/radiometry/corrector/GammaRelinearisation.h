#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Maps stored values back to linear intensity (0..1 scale of the tone curve) by a table a band.
/// Values that no stored image holds (beyond the table) become NaN.
/// Source: docs/formulas.md, The chain, step 2; the metadata state the curves.
class RADIOMETRY_EXPORT GammaRelinearisation : public RowStep {
public:
    static constexpr const char* kName = "GammaRelinearisation"; ///< in accounts

    GammaRelinearisation();
    ~GammaRelinearisation() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
