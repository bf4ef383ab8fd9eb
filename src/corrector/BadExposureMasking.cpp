#include "radiometry/corrector/BadExposureMasking.h"

#include "Kernels.h"
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

constexpr auto kContext = "Masking pixels with bad exposure";
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

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

void mask(BandMatrix& band, float lo, float hi) {
    float* pixel = band.data();
    const Eigen::Index size = band.size();
    for (Eigen::Index i = 0; i < size; ++i) {
        const float v = pixel[i];
        pixel[i] = (lo < v) & (v < hi) ? v : kNan;
    }
}

template <typename Block>
void mask(BandMatrix& band, float lo, float hi, const Block& dark) {
    for (Eigen::Index r = 0; r < band.rows(); ++r) {
        float* pixel = &band(r, 0);
        const float* darkPixel = &dark.coeffRef(r, 0);
        for (Eigen::Index c = 0; c < band.cols(); ++c) {
            const float v = pixel[c];
            pixel[c] = (lo + darkPixel[c] < v) & (v < hi) ? v : kNan;
        }
    }
}

} // namespace

struct BadExposureMasking::Data {
    const ExifInfo* exif = nullptr;
    const CameraParams* camera = nullptr;
    const std::vector<BandMatrix>* darkCurrent = nullptr;
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
    m_data->darkCurrent = &source.darkCurrentMap();
}

bool BadExposureMasking::isApplicable() const {
    return m_data->exif != nullptr && m_data->camera != nullptr;
}

void BadExposureMasking::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    const PixelValueRange range = isGammaTransformationApplied(*m_data->exif)
                                      ? linearRange(m_data->exif->gamma)
                                      : originalPixelRange(*m_data->exif, *m_data->camera);
    TESSIK_LOG(logging::kInfo) << "Masking badly exposed pixels outside range [" << range.min
                               << ", " << range.max << "]";
    const bool hasDarkCurrent = m_data->darkCurrent != nullptr && !m_data->darkCurrent->empty();
    if (hasDarkCurrent) {
        verifyConsistentNumberOfBands(bands.size(), m_data->darkCurrent->size(), kContext);
    }
    const auto lo = static_cast<float>(range.min);
    const auto hi = static_cast<float>(range.max);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        if (hasDarkCurrent) {
            mask(bands[b],
                 lo,
                 hi,
                 blockOf((*m_data->darkCurrent)[b], bands[b], blockOffset, kContext));
        } else {
            mask(bands[b], lo, hi);
        }
    }
}

} // namespace tessik::radiometry::corrector
