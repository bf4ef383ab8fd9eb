#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Multiplies every band by one over the relative brightness of each pixel.
class RADIOMETRY_EXPORT Vignetting final : public ICorrector {
public:
    Vignetting();
    ~Vignetting() override;

    using ICorrector::useData;
    void useData(const datasource::VignettingModel& source) override;

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
