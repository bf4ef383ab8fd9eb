#include "radiometry/corrector/ParrotSequoiaOpticalCameraV2.h"

#include "Kernels.h"
#include "RowFields.h"
#include "SequoiaExposure.h"
#include "radiometry/Consistency.h"
#include "radiometry/sequoia/Physics.h"

#include <sstream>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kExposureContext = "Sequoia delta exposure model";

template <typename Block>
std::string summary(const Block& factors) {
    std::ostringstream text;
    if (factors.size() > 0) {
        text << "min " << factors.minCoeff() << " max " << factors.maxCoeff() << " mean "
             << factors.template cast<double>().mean();
    }
    return text.str();
}

} // namespace

struct ParrotSequoiaOpticalCameraV2::Data {
    SequoiaExposure exposure;
    std::uint64_t imageWidth = 0;
    std::uint64_t imageHeight = 0;
    CorrectionType correctionType = CorrectionType::NoCorrection;
    const sequoia::CMOSParameter* cmos = nullptr;
};

ParrotSequoiaOpticalCameraV2::ParrotSequoiaOpticalCameraV2() : m_data(std::make_unique<Data>()) {}
ParrotSequoiaOpticalCameraV2::~ParrotSequoiaOpticalCameraV2() = default;

void ParrotSequoiaOpticalCameraV2::useData(const datasource::ImageMetadata& source) {
    const ExifInfo& exif = source.exif();
    m_data->exposure = SequoiaExposure::of(exif);
    m_data->imageWidth = exif.imageWidth;
    m_data->imageHeight = exif.imageHeight;
}

void ParrotSequoiaOpticalCameraV2::useData(const datasource::ParrotSequoiaCMOS& source) {
    m_data->cmos = &source.parameter();
}

void ParrotSequoiaOpticalCameraV2::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool ParrotSequoiaOpticalCameraV2::isApplicable() const {
    const std::string invalid = m_data->exposure.invalidNames();
    if (!invalid.empty() || m_data->imageWidth == 0 || m_data->imageHeight == 0) {
        warnOfInvalidTags(invalid);
        return false;
    }
    return m_data->cmos != nullptr && doAnyCorrection(m_data->correctionType);
}

void ParrotSequoiaOpticalCameraV2::apply(BandImage& bands,
                                         const Eigen::Vector2i& blockOffset) const {
    verifyConsistentNumberOfBands(
        bands.size(), 1, QStringLiteral("Correcting for optical effects"));
    const sequoia::ParameterMatrix& deltaTau = m_data->cmos->deltaTau;
    const auto width = static_cast<Eigen::Index>(m_data->imageWidth);
    verifyConsistentMatrixBlocks(static_cast<std::int64_t>(m_data->imageHeight),
                                 width,
                                 deltaTau.rows(),
                                 deltaTau.cols(),
                                 kExposureContext);
    const auto& [fNumber, exposure, iso] = m_data->exposure;
    const BandMatrix map =
        zoomRowFields(sequoia::opticalCorrection(iso, fNumber, exposure, *m_data->cmos),
                      static_cast<int>(width / deltaTau.cols()));
    const auto factors = blockOf(map, bands.front(), blockOffset, kExposureContext);
    bands.front().array() *= factors.array();
    TESSIK_LOG(logging::kInfo) << "Sequoia V2 model optical correction: " << summary(factors);
}

} // namespace tessik::radiometry::corrector
