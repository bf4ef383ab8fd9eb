#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Subtracts the dark current map of each band, in DN. Negative results stay, with a warning.
/// Source: the dark signal adds to the light's; Janesick 2001, docs/formulas.md.
class RADIOMETRY_EXPORT DarkCurrent : public RowStep {
public:
    static constexpr const char* kName = "DarkCurrent"; ///< in accounts

    DarkCurrent();
    ~DarkCurrent() override;

    using ICorrector::useData;
    void useData(const datasource::DarkCurrentModel& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
