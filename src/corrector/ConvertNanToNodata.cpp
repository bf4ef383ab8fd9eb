#include "radiometry/corrector/ConvertNanToNodata.h"

#include <cmath>

namespace tessik::radiometry::corrector {

bool ConvertNanToNodata::isApplicable() const {
    return true;
}

void ConvertNanToNodata::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    for (BandMatrix& band : bands) {
        float* pixel = band.data();
        const Eigen::Index size = band.size();
        for (Eigen::Index i = 0; i < size; ++i) {
            pixel[i] = std::isnan(pixel[i]) ? kNoData : pixel[i];
        }
    }
}

} // namespace tessik::radiometry::corrector
