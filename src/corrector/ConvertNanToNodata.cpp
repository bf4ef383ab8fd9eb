#include "radiometry/corrector/ConvertNanToNodata.h"

#include "Kernels.h"

namespace tessik::radiometry::corrector {

bool ConvertNanToNodata::isApplicable() const {
    return true;
}

RowWork ConvertNanToNodata::prepareRows(const BandImage& /*bands*/,
                                        const Eigen::Vector2i& /*blockOffset*/) const {
    return {[](BandImage& bands, Eigen::Index first, Eigen::Index last) {
                for (BandMatrix& band : bands) {
                    forRows(band, first, last, [](auto, float* pixels, std::size_t size) {
                        loops::replaceNan(pixels, size, kNoData);
                    });
                }
            },
            {}};
}

void ConvertNanToNodata::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
