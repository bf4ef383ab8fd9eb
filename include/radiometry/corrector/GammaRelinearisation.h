#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Maps stored values back to linear intensity (0..1 scale of the tone curve) by a table a band.
/// Values that no stored image holds (beyond the table) become NaN.
class RADIOMETRY_EXPORT GammaRelinearisation final : public ICorrector {
public:
    GammaRelinearisation();
    ~GammaRelinearisation() override;

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
