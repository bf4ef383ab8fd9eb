#include "radiometry/corrector/IntensityShift.h"

#include "corrector/Rows.h"
#include "corrector/Tell.h"
#include "platform/log/Log.h"

namespace tessik::radiometry::corrector {

bool IntensityShift::isApplicable() const {
    return true;
}

RowWork IntensityShift::prepare(const BandImage& /*bands*/,
                                const Eigen::Vector2i& /*blockOffset*/,
                                Account* account) const {
    TESSIK_LOG(logging::kInfo) << "Image shifted by " << m_factor;
    tell(account, "factor", "", {static_cast<double>(m_factor)});
    return {[factor = m_factor](const Row& row) { loops::multiply(row.pixels, row.size, factor); },
            {}};
}

} // namespace tessik::radiometry::corrector
