#include "radiometry/corrector/BasicOpticalCamera.h"

#include "corrector/Rows.h"
#include "platform/log/Log.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

namespace tessik::radiometry::corrector {

struct BasicOpticalCamera::Data {
    Eigen::ArrayXd sensitivity;
    double apertureFNumber = 1.0;
    double exposure = 1.0;
    double iso = 1.0;
    CorrectionType correctionType = CorrectionType::NoCorrection;
};

BasicOpticalCamera::BasicOpticalCamera() : m_data(std::make_unique<Data>()) {}
BasicOpticalCamera::~BasicOpticalCamera() = default;

void BasicOpticalCamera::useData(const datasource::ImageMetadata& source) {
    m_data->sensitivity = readSensitivity(source.exif());
    m_data->apertureFNumber = readApertureFNumber(source.exif());
    m_data->exposure = readExposure(source.exif());
    m_data->iso = readIso(source.exif());
}

void BasicOpticalCamera::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool BasicOpticalCamera::isApplicable() const {
    return m_data->sensitivity.size() > 0 && doAnyCorrection(m_data->correctionType);
}

RowWork BasicOpticalCamera::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(task.bands.size(),
                                  static_cast<std::size_t>(m_data->sensitivity.size()),
                                  QStringLiteral("Correcting for optical effects"));
    Eigen::ArrayXd factors(m_data->sensitivity.size());
    for (Eigen::Index b = 0; b < factors.size(); ++b) {
        factors(b) = opticalCorrection(
            m_data->apertureFNumber, m_data->exposure, m_data->iso, m_data->sensitivity(b));
    }
    TESSIK_LOG(logging::kInfo) << "Camera optical correction: " << factors.transpose();
    tell(task.account, "factor", "", factors);
    return scaling(factors.cast<float>());
}

} // namespace tessik::radiometry::corrector
