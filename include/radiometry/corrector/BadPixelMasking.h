#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Masks the sensor's known defective pixels with NaN. Positions are (column, row) in the matrix
/// that is passed; those outside it are skipped. Promised: docs/contract.md, rows-of-the-block.
/// Source: docs/formulas.md, The chain, step 3; the metadata state the positions.
class RADIOMETRY_EXPORT BadPixelMasking : public Step {
public:
    static constexpr const char* kName = "BadPixelMasking"; ///< in accounts

    BadPixelMasking();
    ~BadPixelMasking() override;

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
