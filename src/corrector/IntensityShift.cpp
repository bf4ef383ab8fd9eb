#include "radiometry/corrector/IntensityShift.h"

#include "platform/log/Log.h"

namespace tessik::radiometry::corrector {

bool IntensityShift::isApplicable() const {
    return true;
}

void IntensityShift::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    TESSIK_LOG(logging::kInfo) << "Image shifted by " << m_factor;
    for (BandMatrix& band : bands) {
        band *= m_factor;
    }
}

} // namespace tessik::radiometry::corrector
