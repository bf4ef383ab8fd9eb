#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Separates bands that leak into each other: multiplies the vector of a pixel's band values by the
/// camera's matrix, in double. A NaN in one band is a NaN in all. For unsigned pixel types, results
/// below 0 from inputs that are not are numerical leakage and become 0.
/// Source: docs/formulas.md, The chain, step 7; the metadata state the matrix.
class RADIOMETRY_EXPORT ColorMatrix : public Step {
public:
    static constexpr const char* kName = "ColorMatrix"; ///< in accounts

    ColorMatrix();
    ~ColorMatrix() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    void act(BandImage& bands, const Eigen::Vector2i& blockOffset, Account* account) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
