#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Makes values of different exposures comparable: N^2 / (t * S_b * ISO), with aperture f-number N,
/// exposure time t in s and sensitivity S_b of the band. What the metadata do not state counts
/// as 1.
/// Source: ISO 12232 and ISO 2720: a signal is proportional to luminance * t * ISO / N^2.
class RADIOMETRY_EXPORT BasicOpticalCamera : public RowStep {
public:
    static constexpr const char* kName = "BasicOpticalCamera"; ///< in accounts

    BasicOpticalCamera();
    ~BasicOpticalCamera() override;

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
