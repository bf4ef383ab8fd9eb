#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Makes values of different exposures comparable: N^2 / (t * S_b * ISO), with aperture f-number N,
/// exposure time t in s and sensitivity S_b of the band. What the metadata do not state counts
/// as 1.
class RADIOMETRY_EXPORT BasicOpticalCamera final : public ICorrector {
public:
    BasicOpticalCamera();
    ~BasicOpticalCamera() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::UserSettings& source) override;

    [[nodiscard]] RowWork prepareRows(const BandImage& bands,
                                      const Eigen::Vector2i& blockOffset) const override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
