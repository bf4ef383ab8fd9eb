#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Makes values of different exposures of a Sequoia band comparable by one factor,
/// N^2 / (t * S * ISO + C), with aperture f-number N, exposure time t in s, and sensitivity S and
/// CMOS correction C of the band from its metadata. Acts where there is no factory model; any value
/// that is missing or not positive (C may be) keeps it from acting, with a warning.
/// Source: Parrot, application note SEQ-AN-01: I = f^2 (p - B) / (A t ISO + C).
class RADIOMETRY_EXPORT ParrotSequoiaOpticalCameraV1 : public RowStep {
public:
    static constexpr const char* kName = "ParrotSequoiaOpticalCameraV1"; ///< in accounts

    ParrotSequoiaOpticalCameraV1();
    ~ParrotSequoiaOpticalCameraV1() override;

    using ICorrector::useData;
    /// @throws error when the metadata do not state one sensitivity and one CMOS correction
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::ParrotSequoiaCMOS& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] bool mayWarnWhenAsked() const override { return true; }
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
