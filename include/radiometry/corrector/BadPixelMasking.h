#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Masks the sensor's known defective pixels with NaN. Positions are (column, row) in the matrix
/// that is passed; those outside it are skipped.
class RADIOMETRY_EXPORT BadPixelMasking final : public ICorrector {
public:
    BadPixelMasking();
    ~BadPixelMasking() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
