#include "radiometry/corrector/ConvertNanToNodata.h"

#include "Kernels.h"

#include <cmath>

namespace tessik::radiometry::corrector {

bool ConvertNanToNodata::isApplicable() const {
    return true;
}

RowWork ConvertNanToNodata::prepareRows(const BandImage& /*bands*/,
                                        const Eigen::Vector2i& /*blockOffset*/) const {
    return {[](BandImage& bands, Eigen::Index first, Eigen::Index last) {
                for (BandMatrix& band : bands) {
                    auto pixels = rowsOf(band, first, last);
                    for (Eigen::Index i = 0; i < pixels.size(); ++i) {
                        pixels(i) = std::isnan(pixels(i)) ? kNoData : pixels(i);
                    }
                }
            },
            {}};
}

void ConvertNanToNodata::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
