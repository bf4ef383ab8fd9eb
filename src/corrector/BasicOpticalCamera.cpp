#include "radiometry/corrector/BasicOpticalCamera.h"

#include "Kernels.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"
#include "radiometry/ExposureMetadata.h"

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

void BasicOpticalCamera::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    verifyConsistentNumberOfBands(bands.size(),
                                  static_cast<std::size_t>(m_data->sensitivity.size()),
                                  QStringLiteral("Correcting for optical effects"));
    Eigen::ArrayXd factors(m_data->sensitivity.size());
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const auto i = static_cast<Eigen::Index>(b);
        factors(i) = opticalCorrection(
            m_data->apertureFNumber, m_data->exposure, m_data->iso, m_data->sensitivity(i));
        scale(bands[b], factors(i));
    }
    TESSIK_LOG(logging::kInfo) << "Camera optical correction: " << factors.transpose();
}

} // namespace tessik::radiometry::corrector
