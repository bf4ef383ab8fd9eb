#include "PixelSummary.h"

#include <array>
#include <limits>
#include <memory>
#include <numeric>

namespace tessik::app {
namespace {

struct Sums {
    double sum = 0.0;
    std::int64_t masked = 0;
};

Sums sumsOfRow(const float* row, Eigen::Index size) {
    constexpr Eigen::Index kLanes = 16; // sums side by side, which the compiler vectorises
    std::array<float, kLanes> sums{};
    std::array<std::int32_t, kLanes> counts{};
    const auto take = [&](Eigen::Index c, std::size_t lane) {
        const bool isMasked = row[c] == radiometry::kNoData;
        sums[lane] += isMasked ? 0.0F : row[c];
        counts[lane] += isMasked ? 1 : 0;
    };
    const Eigen::Index whole = size - size % kLanes;
    for (Eigen::Index c = 0; c < whole; c += kLanes) {
        for (Eigen::Index lane = 0; lane < kLanes; ++lane) {
            take(c + lane, static_cast<std::size_t>(lane));
        }
    }
    for (Eigen::Index c = whole; c < size; ++c) {
        take(c, 0);
    }
    return {std::accumulate(sums.begin(), sums.end(), 0.0),
            std::accumulate(counts.begin(), counts.end(), std::int64_t{0})};
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
