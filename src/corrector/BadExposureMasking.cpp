#include "radiometry/corrector/BadExposureMasking.h"

#include "corrector/DarkLevel.h"
#include "corrector/Rows.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

#include <algorithm>
#include <limits>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kBadExposureContext = "Masking pixels with bad exposure";

/// What relinearised values can be, over all bands.
PixelValueRange linearRange(const std::vector<gamma_t>& gammas) {
    PixelValueRange range(std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity());
    for (const gamma_t& gamma : gammas) {
        range.min = std::min(range.min, gamma.transform(0.0));
        range.max = std::max(range.max, gamma.transform(1.0));
    }
    return range;
}

} // namespace

struct BadExposureMasking::Data {
    const ExifInfo* exif = nullptr;
    const CameraParams* camera = nullptr;
    DarkLevel::Maps darkCurrent;
};

BadExposureMasking::BadExposureMasking() : m_data(std::make_unique<Data>()) {}
BadExposureMasking::~BadExposureMasking() = default;

void BadExposureMasking::useData(const datasource::ImageMetadata& source) {
    m_data->exif = &source.exif();
}

void BadExposureMasking::useData(const datasource::Sensor& source) {
    m_data->camera = &source.cameraParams();
}

void BadExposureMasking::useData(const datasource::DarkCurrentModel& source) {
    m_data->darkCurrent = source.maps();
}

bool BadExposureMasking::isApplicable() const {
    return m_data->exif != nullptr && m_data->camera != nullptr;
}

RowWork BadExposureMasking::prepare(const RowTask& task) const {
    const PixelValueRange range = isGammaTransformationApplied(*m_data->exif)
                                      ? linearRange(m_data->exif->gamma)
                                      : originalPixelRange(*m_data->exif, *m_data->camera);
    TESSIK_LOG(logging::kInfo) << "Masking badly exposed pixels outside range [" << range.min
                               << ", " << range.max << "]";
    const DarkLevel::Maps& maps = m_data->darkCurrent;
    const bool hasDarkCurrent = maps && !maps->bands.empty();
    if (hasDarkCurrent) {
        verifyConsistentNumberOfBands(task.bands.size(), maps->bands.size(), kBadExposureContext);
    }
    std::vector<DarkLevel> darks;
    if (hasDarkCurrent) {
        darks = DarkLevel::ofBands(maps, task.bands, task.blockOffset, kBadExposureContext);
    }
    const auto lo = static_cast<float>(range.min);
    const auto limit = [line = m_data->camera->clipLine,
                        max = range.max,
                        firstRow =
                            static_cast<Eigen::Index>(task.blockOffset[1])](Eigen::Index row) {
        return static_cast<float>(
            line ? std::min(max, line->ofRow(static_cast<double>(firstRow + row))) : max);
    };
    const char* unit = isGammaTransformationApplied(*m_data->exif) ? "" : "DN";
    tell(task.account, "lower_limit", unit, {range.min});
    tell(task.account, "upper_limit", unit, {range.max});
    if (m_data->camera->clipLine) {
        tell(
            task.account, "upper_limit_of_first_row", unit, {m_data->camera->clipLine->atFirstRow});
        tell(task.account, "upper_limit_per_row", unit, {m_data->camera->clipLine->perRow});
    }
    if (darks.empty()) {
        return {[lo, limit](const Row& row) {
            loops::maskOutside(row.pixels, row.size, lo, limit(row.index));
        }};
    }
    return {[darks, lo, limit](const Row& row) {
        const float* dark = darks[row.band].ofRow(row.index);
        loops::maskOutside(row.pixels, row.size, dark, lo, limit(row.index));
    }};
}

} // namespace tessik::radiometry::corrector
