#include "radiometry/corrector/ParrotSequoiaOpticalCameraV2.h"

#include "cameras/sequoia/RowFields.h"
#include "corrector/Rows.h"
#include "corrector/SequoiaExposure.h"
#include "platform/log/Log.h"
#include "radiometry/cameras/sequoia/Physics.h"
#include "radiometry/core/Consistency.h"

#include <limits>
#include <memory>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kExposureContext = "Sequoia delta exposure model";
constexpr double kNoFactor = std::numeric_limits<double>::quiet_NaN();

/// The range of the factors of a block.
struct FactorRange {
    double least;
    double largest;
    double mean;
};

template <typename Block>
FactorRange rangeOf(const Block& factors) {
    if (factors.size() == 0) {
        return {kNoFactor, kNoFactor, kNoFactor};
    }
    return {static_cast<double>(factors.minCoeff()),
            static_cast<double>(factors.maxCoeff()),
            factors.template cast<double>().mean()};
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
        // Promised: docs/contract.md, empty-tag-list.
        warnOfInvalidTags(invalid);
        return false;
    }
    return m_data->cmos != nullptr && doAnyCorrection(m_data->correctionType);
}

RowWork ParrotSequoiaOpticalCameraV2::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(
        task.bands.size(), 1, QStringLiteral("Correcting for optical effects"));
    const sequoia::ParameterMatrix& deltaTau = m_data->cmos->deltaTau;
    const auto width = static_cast<Eigen::Index>(m_data->imageWidth);
    verifyConsistentMatrixBlocks(static_cast<std::int64_t>(m_data->imageHeight),
                                 width,
                                 deltaTau.rows(),
                                 deltaTau.cols(),
                                 kExposureContext);
    const auto& [fNumber, exposure, iso] = m_data->exposure;
    const auto map = std::make_shared<const BandMatrix>(
        zoomRowFields(sequoia::opticalCorrection(iso, fNumber, exposure, *m_data->cmos),
                      static_cast<int>(width / deltaTau.cols())));
    const BandMatrix& band = task.bands.front();
    verifyInside(*map, band, task.blockOffset, kExposureContext);
    if (task.account != nullptr || logging::takes(logging::kInfo)) {
        const FactorRange range =
            rangeOf(map->block(task.blockOffset[1], task.blockOffset[0], band.rows(), band.cols()));
        TESSIK_LOG(logging::kInfo) << "Sequoia V2 model optical correction: min " << range.least
                                   << " max " << range.largest << " mean " << range.mean;
        tell(task.account, "factor_least", "", {range.least});
        tell(task.account, "factor_largest", "", {range.largest});
        tell(task.account, "factor_mean", "", {range.mean});
    }
    return {[map, offset = task.blockOffset](const Row& row) {
        loops::multiply(row.pixels, row.size, rowOfMap(*map, offset, row));
    }};
}

} // namespace tessik::radiometry::corrector
