#include "radiometry/corrector/BadPixelMasking.h"

#include "platform/exif/ExifInfo.h"
#include "radiometry/Consistency.h"

#include <limits>

namespace tessik::radiometry::corrector {

struct BadPixelMasking::Data {
    const std::vector<std::vector<std::pair<std::int32_t, std::int32_t>>>* badPixels = nullptr;
};

BadPixelMasking::BadPixelMasking() : m_data(std::make_unique<Data>()) {}
BadPixelMasking::~BadPixelMasking() = default;

void BadPixelMasking::useData(const datasource::ImageMetadata& source) {
    m_data->badPixels = &source.exif().badPixels;
}

bool BadPixelMasking::isApplicable() const {
    return m_data->badPixels != nullptr && !m_data->badPixels->empty();
}

void BadPixelMasking::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    const auto& lists = *m_data->badPixels;
    verifyConsistentNumberOfBands(bands.size(), lists.size(), QStringLiteral("Masking bad pixels"));
    for (std::size_t b = 0; b < bands.size(); ++b) {
        BandMatrix& band = bands[b];
        for (const auto& [column, row] : lists[b]) {
            if (column >= 0 && column < band.cols() && row >= 0 && row < band.rows()) {
                band(row, column) = std::numeric_limits<float>::quiet_NaN();
            }
        }
    }
}

} // namespace tessik::radiometry::corrector
