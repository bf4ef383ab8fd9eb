#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Masks with NaN the values that are not strictly inside the range of the raw encoding, whose
/// lower end is raised by the dark current where that is known: value = 0 light or saturated.
/// Source: docs/formulas.md, The chain, step 4; each camera's section has its limits.
class RADIOMETRY_EXPORT BadExposureMasking : public RowStep {
public:
    static constexpr const char* kName = "BadExposureMasking"; ///< in accounts

    BadExposureMasking();
    ~BadExposureMasking() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::Sensor& source) override;
    void useData(const datasource::DarkCurrentModel& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
