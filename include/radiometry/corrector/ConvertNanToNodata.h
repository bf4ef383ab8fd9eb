#pragma once

#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

/// Turns every NaN into kNoData. Infinities stay.
class RADIOMETRY_EXPORT ConvertNanToNodata final : public ICorrector {
public:
    [[nodiscard]] RowWork prepareRows(const BandImage& bands,
                                      const Eigen::Vector2i& blockOffset) const override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;
};

} // namespace tessik::radiometry::corrector
