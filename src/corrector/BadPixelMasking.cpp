#include "radiometry/corrector/BadPixelMasking.h"

#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "radiometry/core/Consistency.h"

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

void BadPixelMasking::act(BandImage& bands,
                          const Eigen::Vector2i& /*blockOffset*/,
                          Account* account) const {
    const auto& lists = *m_data->badPixels;
    verifyConsistentNumberOfBands(bands.size(), lists.size(), QStringLiteral("Masking bad pixels"));
    Eigen::ArrayXd counts = Eigen::ArrayXd::Zero(static_cast<Eigen::Index>(bands.size()));
    for (std::size_t b = 0; b < bands.size(); ++b) {
        BandMatrix& band = bands[b];
        for (const auto& [column, row] : lists[b]) {
            if (column >= 0 && column < band.cols() && row >= 0 && row < band.rows()) {
                band(row, column) = std::numeric_limits<float>::quiet_NaN();
                counts(static_cast<Eigen::Index>(b)) += 1.0;
            }
        }
    }
    tell(account, "masked", "px", counts);
}

} // namespace tessik::radiometry::corrector
