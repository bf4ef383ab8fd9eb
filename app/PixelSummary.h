#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <cstdint>
#include <vector>

namespace tessik::app {

/// What the pixels of a corrected image came to.
struct PixelSummary {
    std::int64_t pixelCount = 0;  ///< samples of all bands
    std::int64_t maskedCount = 0; ///< of them, without a valid value
    std::vector<double> means;    ///< of the valid pixels, one a band; NaN = none is valid
};

PixelSummary summaryOf(const BandImage& bands);

/// Looks at the pixels as the last step of a chain, while they are in the processor's cache.
class Summarise final : public radiometry::corrector::ICorrector {
public:
    /// @param summary where the result goes; must outlive the chain's run
    explicit Summarise(PixelSummary& summary) : m_summary(summary) {}

    [[nodiscard]] radiometry::corrector::RowWork
    prepareRows(const BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

protected:
    [[nodiscard]] bool isApplicable() const override { return true; }
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override {
        applyByRows(bands, blockOffset);
    }

private:
    PixelSummary& m_summary;
};

} // namespace tessik::app
