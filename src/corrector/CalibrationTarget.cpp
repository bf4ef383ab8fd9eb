#include "radiometry/corrector/CalibrationTarget.h"

#include "corrector/Rows.h"
#include "platform/log/Log.h"
#include "radiometry/core/Consistency.h"

namespace tessik::radiometry::corrector {

struct CalibrationTarget::Data {
    Eigen::ArrayXf factors;
};

CalibrationTarget::CalibrationTarget() : m_data(std::make_unique<Data>()) {}
CalibrationTarget::~CalibrationTarget() = default;

void CalibrationTarget::useData(const datasource::CalibrationTarget& source) {
    if (source.sensitivity().size() > 0) {
        // Promised: docs/contract.md, no-guards.
        m_data->factors = source.sensitivity().inverse().cast<float>();
    }
}

bool CalibrationTarget::isApplicable() const {
    return m_data->factors.size() > 0;
}

RowWork CalibrationTarget::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(task.bands.size(),
                                  static_cast<std::size_t>(m_data->factors.size()),
                                  QStringLiteral("Correcting for target sensitivity"));
    // Promised: docs/contract.md, factors-as-array.
    TESSIK_LOG(logging::kInfo) << "Calibration target derived sensitivity correction: "
                               << m_data->factors;
    tell(task.account, "factor", "", m_data->factors.cast<double>());
    return scaling(m_data->factors);
}

} // namespace tessik::radiometry::corrector
