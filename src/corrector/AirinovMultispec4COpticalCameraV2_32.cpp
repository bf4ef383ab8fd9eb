#include "radiometry/corrector/AirinovMultispec4COpticalCameraV2_32.h"

#include "corrector/Rows.h"
#include "platform/log/Log.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

namespace tessik::radiometry::corrector {

struct AirinovMultispec4COpticalCameraV2_32::Data {
    Eigen::ArrayXd sensitivity;
    CorrectionType correctionType = CorrectionType::NoCorrection;
};

AirinovMultispec4COpticalCameraV2_32::AirinovMultispec4COpticalCameraV2_32()
    : m_data(std::make_unique<Data>()) {}
AirinovMultispec4COpticalCameraV2_32::~AirinovMultispec4COpticalCameraV2_32() = default;

void AirinovMultispec4COpticalCameraV2_32::useData(const datasource::ImageMetadata& source) {
    m_data->sensitivity = readSensitivity(source.exif());
}

void AirinovMultispec4COpticalCameraV2_32::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool AirinovMultispec4COpticalCameraV2_32::isApplicable() const {
    return m_data->sensitivity.size() > 0 && doAnyCorrection(m_data->correctionType);
}

RowWork AirinovMultispec4COpticalCameraV2_32::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(task.bands.size(),
                                  static_cast<std::size_t>(m_data->sensitivity.size()),
                                  QStringLiteral("Correcting for optical effects"));
    const Eigen::ArrayXd factors = m_data->sensitivity.inverse();
    TESSIK_LOG(logging::kInfo) << "AirinovMultispec4C optical correction: " << factors.transpose();
    tell(task.account, "factor", "", factors);
    return scaling(factors.cast<float>());
}

} // namespace tessik::radiometry::corrector
