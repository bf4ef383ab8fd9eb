#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Adds a fixed bias to the red edge and near infrared bands of a Sequoia corrected by the
/// factory's model. The biases are negative: a value of 0 or more never goes below 0, a negative
/// one stays as it is, NaN stays NaN. Not part of the chain. Promised: docs/contract.md,
/// bias-outside.
/// Source: two constants of this library; no paper states them.
class RADIOMETRY_EXPORT ParrotSequoiaBias : public RowStep {
public:
    static constexpr const char* kName = "ParrotSequoiaBias"; ///< in accounts

    ParrotSequoiaBias();
    ~ParrotSequoiaBias() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::ParrotSequoiaCMOS& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
