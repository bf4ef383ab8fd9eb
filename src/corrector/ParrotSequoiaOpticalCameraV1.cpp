#include "radiometry/corrector/ParrotSequoiaOpticalCameraV1.h"

#include "core/Fail.h"
#include "corrector/Rows.h"
#include "corrector/SequoiaExposure.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

namespace tessik::radiometry::corrector {

struct ParrotSequoiaOpticalCameraV1::Data {
    double sensitivity = 0.0;
    double cmosCorrection = 0.0;
    SequoiaExposure exposure;
    CorrectionType correctionType = CorrectionType::NoCorrection;
    const sequoia::CMOSParameter* cmos = nullptr;
};

ParrotSequoiaOpticalCameraV1::ParrotSequoiaOpticalCameraV1() : m_data(std::make_unique<Data>()) {}
ParrotSequoiaOpticalCameraV1::~ParrotSequoiaOpticalCameraV1() = default;

void ParrotSequoiaOpticalCameraV1::useData(const datasource::ImageMetadata& source) {
    const ExifInfo& exif = source.exif();
    const Eigen::ArrayXd sensitivity = readSensitivity(exif);
    if (sensitivity.size() != 1) {
        fail("Sensitivity not defined for single-band Sequoia image");
    }
    m_data->sensitivity = sensitivity(0);
    if (exif.cmosCorrection.size() != 1) {
        fail("CMOS correction not defined for single-band Sequoia image");
    }
    m_data->cmosCorrection = exif.cmosCorrection.front();
    m_data->exposure = SequoiaExposure::of(exif);
}

void ParrotSequoiaOpticalCameraV1::useData(const datasource::ParrotSequoiaCMOS& source) {
    m_data->cmos = &source.parameter();
}

void ParrotSequoiaOpticalCameraV1::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool ParrotSequoiaOpticalCameraV1::isApplicable() const {
    const std::string invalid =
        (m_data->sensitivity > 0.0 ? "" : "sensitivity ") + m_data->exposure.invalidNames();
    if (!invalid.empty()) {
        warnOfInvalidTags(invalid);
        return false;
    }
    return m_data->cmos == nullptr && doAnyCorrection(m_data->correctionType);
}

RowWork ParrotSequoiaOpticalCameraV1::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(
        task.bands.size(), 1, QStringLiteral("Correcting for optical effects"));
    const auto& [fNumber, exposure, iso] = m_data->exposure;
    const double factor =
        fNumber * fNumber / (exposure * m_data->sensitivity * iso + m_data->cmosCorrection);
    TESSIK_LOG(logging::kInfo) << "Sequoia V1 model optical correction: " << factor;
    tell(task.account, "factor", "", {factor});
    return scaling(Eigen::ArrayXf::Constant(1, static_cast<float>(factor)));
}

} // namespace tessik::radiometry::corrector
