#include "PixelSummary.h"

#include <array>
#include <cstring>
#include <limits>
#include <memory>

namespace tessik::app {
namespace {

struct Sums {
    double sum = 0.0;
    std::int64_t masked = 0;
};

Sums sumsOfRow(const float* row, std::size_t size) {
    // In lanes: a single sum would wait for each addition.
    constexpr std::size_t kLanes = 4;
    constexpr std::size_t kStep = 4 * kLanes;
    using Values = float __attribute__((vector_size(kLanes * sizeof(float))));
    using Counts = std::int32_t __attribute__((vector_size(kLanes * sizeof(std::int32_t))));
    const Values zeros = {};
    std::array<Values, kStep / kLanes> sums = {};
    std::array<Counts, kStep / kLanes> masked = {};
    std::size_t at = 0;
    for (; at + kStep <= size; at += kStep) {
        for (std::size_t i = 0; i < sums.size(); ++i) {
            Values values;
            std::memcpy(&values, row + at + i * kLanes, sizeof(values));
            const Counts isMasked = values == radiometry::kNoData; // all ones where it is
            sums[i] += isMasked ? zeros : values;
            masked[i] -= isMasked;
        }
    }
    const Values sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    const Counts count = (masked[0] + masked[1]) + (masked[2] + masked[3]);
    Sums total;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        total.sum += static_cast<double>(sum[lane]);
        total.masked += count[lane];
    }
    for (; at < size; ++at) {
        const bool isMasked = row[at] == radiometry::kNoData;
        total.sum += isMasked ? 0.0 : static_cast<double>(row[at]);
        total.masked += isMasked ? 1 : 0;
    }
    return total;
}

/// Adds what one band came to.
void add(const Sums& total, Eigen::Index size, PixelSummary& summary) {
    const std::int64_t valid = size - total.masked;
    summary.pixelCount += size;
    summary.maskedCount += total.masked;
    summary.means.push_back(valid > 0 ? total.sum / static_cast<double>(valid)
                                      : std::numeric_limits<double>::quiet_NaN());
}

} // namespace

PixelSummary summaryOf(const BandImage& bands) {
    PixelSummary summary;
    for (const BandMatrix& band : bands) {
        Sums total;
        for (Eigen::Index r = 0; r < band.rows(); ++r) {
            const Sums sums =
                sumsOfRow(band.data() + r * band.cols(), static_cast<std::size_t>(band.cols()));
            total.sum += sums.sum;
            total.masked += sums.masked;
        }
        add(total, band.size(), summary);
    }
    return summary;
}

radiometry::corrector::RowWork
Summarise::prepareRows(const BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    const auto totals = std::make_shared<std::vector<Sums>>(bands.size());
    const Eigen::Index size = bands.empty() ? 0 : bands.front().size();
    return {[totals](BandImage& images, Eigen::Index first, Eigen::Index last) {
                for (std::size_t b = 0; b < images.size(); ++b) {
                    for (Eigen::Index r = first; r < last; ++r) {
                        const Sums sums =
                            sumsOfRow(&images[b](r, 0), static_cast<std::size_t>(images[b].cols()));
                        (*totals)[b].sum += sums.sum;
                        (*totals)[b].masked += sums.masked;
                    }
                }
            },
            [totals, size, &summary = m_summary] {
                for (const Sums& total : *totals) {
                    add(total, size, summary);
                }
            }};
}

} // namespace tessik::app
