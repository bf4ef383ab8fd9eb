#include "radiometry/corrector/IntensityShift.h"

#include "corrector/Rows.h"
#include "platform/log/Log.h"

namespace tessik::radiometry::corrector {

bool IntensityShift::isApplicable() const {
    return true;
}

RowWork IntensityShift::prepare(const RowTask& task) const {
    TESSIK_LOG(logging::kInfo) << "Image shifted by " << m_factor;
    tell(task.account, "factor", "", {static_cast<double>(m_factor)});
    return {[factor = m_factor](const Row& row) { loops::multiply(row.pixels, row.size, factor); }};
}

} // namespace tessik::radiometry::corrector
