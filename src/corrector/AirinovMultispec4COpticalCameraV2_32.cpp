#include "radiometry/corrector/AirinovMultispec4COpticalCameraV2_32.h"

#include "Kernels.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"
#include "radiometry/ExposureMetadata.h"

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

void AirinovMultispec4COpticalCameraV2_32::apply(BandImage& bands,
                                                 const Eigen::Vector2i& /*blockOffset*/) const {
    verifyConsistentNumberOfBands(bands.size(),
                                  static_cast<std::size_t>(m_data->sensitivity.size()),
                                  QStringLiteral("Correcting for optical effects"));
    const Eigen::ArrayXd factors = m_data->sensitivity.inverse();
    for (std::size_t b = 0; b < bands.size(); ++b) {
        scale(bands[b], factors(static_cast<Eigen::Index>(b)));
    }
    TESSIK_LOG(logging::kInfo) << "AirinovMultispec4C optical correction: " << factors.transpose();
}

} // namespace tessik::radiometry::corrector
