#include "radiometry/corrector/BadExposureMasking.h"

#include "DarkLevel.h"
#include "platform/camera/CameraParams.h"
#include "platform/exif/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"
#include "radiometry/ExposureMetadata.h"
#include "radiometry/Gamma.h"

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
    const datasource::DarkCurrentModel* darkCurrent = nullptr;
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
    m_data->darkCurrent = &source;
}

bool BadExposureMasking::isApplicable() const {
    return m_data->exif != nullptr && m_data->camera != nullptr;
}

RowWork BadExposureMasking::prepareRows(const BandImage& bands,
                                        const Eigen::Vector2i& blockOffset) const {
    const PixelValueRange range = isGammaTransformationApplied(*m_data->exif)
                                      ? linearRange(m_data->exif->gamma)
                                      : originalPixelRange(*m_data->exif, *m_data->camera);
    TESSIK_LOG(logging::kInfo) << "Masking badly exposed pixels outside range [" << range.min
                               << ", " << range.max << "]";
    const datasource::DarkCurrentModel* model = m_data->darkCurrent;
    const bool hasDarkCurrent = model != nullptr && !model->darkCurrentMap().empty();
    if (hasDarkCurrent) {
        verifyConsistentNumberOfBands(
            bands.size(), model->darkCurrentMap().size(), kBadExposureContext);
    }
    std::vector<DarkLevel> darks;
    darks.reserve(bands.size());
    for (std::size_t b = 0; b < bands.size() && hasDarkCurrent; ++b) {
        darks.emplace_back(*model, b, bands[b], blockOffset, kBadExposureContext);
    }
    const auto lo = static_cast<float>(range.min);
    const auto limit = [line = m_data->camera->clipLine,
                        max = range.max,
                        firstRow = static_cast<Eigen::Index>(blockOffset[1])](Eigen::Index row) {
        return static_cast<float>(
            line ? std::min(max, line->ofRow(static_cast<double>(firstRow + row))) : max);
    };
    return {[darks, lo, limit](BandImage& images, Eigen::Index first, Eigen::Index last) {
                for (std::size_t b = 0; b < images.size(); ++b) {
                    forRows(images[b],
                            first,
                            last,
                            [&](Eigen::Index r, float* pixels, std::size_t size) {
                                const float hi = limit(r);
                                if (darks.empty()) {
                                    loops::maskOutside(pixels, size, lo, hi);
                                } else {
                                    loops::maskOutside(pixels, size, darks[b].ofRow(r), lo, hi);
                                }
                            });
                }
            },
            {}};
}

void BadExposureMasking::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
