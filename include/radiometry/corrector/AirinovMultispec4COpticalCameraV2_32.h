#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// The Airinov multiSPEC 4C delivers values already normalised for exposure: 1 / S_b is left.
/// Source: the camera divides by the exposure itself; docs/formulas.md, Airinov multiSPEC 4C.
class RADIOMETRY_EXPORT AirinovMultispec4COpticalCameraV2_32 : public RowStep {
public:
    static constexpr const char* kName = "AirinovMultispec4COpticalCameraV2_32"; ///< in accounts

    AirinovMultispec4COpticalCameraV2_32();
    ~AirinovMultispec4COpticalCameraV2_32() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
