#include "PixelSummary.h"

#include <limits>
#include <memory>

namespace tessik::app {
namespace {

struct Sums {
    double sum = 0.0;
    std::int64_t masked = 0;
};

Sums sumsOfRow(const float* row, Eigen::Index size) {
    const Eigen::Map<const Eigen::ArrayXf> pixels(row, size);
    if (pixels.minCoeff() > radiometry::kNoData) { // nearly every row; the compiler vectorises it
        return {static_cast<double>(pixels.sum()), 0};
    }
    Sums sums;
    for (Eigen::Index c = 0; c < size; ++c) {
        const bool isMasked = row[c] == radiometry::kNoData;
        sums.sum += isMasked ? 0.0 : static_cast<double>(row[c]);
        sums.masked += isMasked ? 1 : 0;
    }
    return sums;
}

} // namespace

radiometry::corrector::RowWork
Summarise::prepareRows(const BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    const auto totals = std::make_shared<std::vector<Sums>>(bands.size());
    const Eigen::Index size = bands.empty() ? 0 : bands.front().size();
    return {[totals](BandImage& images, Eigen::Index first, Eigen::Index last) {
                for (std::size_t b = 0; b < images.size(); ++b) {
                    for (Eigen::Index r = first; r < last; ++r) {
                        const Sums sums = sumsOfRow(&images[b](r, 0), images[b].cols());
                        (*totals)[b].sum += sums.sum;
                        (*totals)[b].masked += sums.masked;
                    }
                }
            },
            [totals, size, &summary = m_summary] {
                for (const Sums& total : *totals) {
                    const std::int64_t valid = size - total.masked;
                    summary.pixelCount += size;
                    summary.maskedCount += total.masked;
                    summary.means.push_back(valid > 0 ? total.sum / static_cast<double>(valid)
                                                      : std::numeric_limits<double>::quiet_NaN());
                }
            }};
}

} // namespace tessik::app
