#include "radiometry/corrector/ConvertNanToNodata.h"

#include "corrector/Rows.h"

#include <limits>
#include <memory>

namespace tessik::radiometry::corrector {
namespace {

/// What the pixels of each band came to.
void tellPixels(const std::vector<loops::Sums>& bands, Account* account) {
    Eigen::ArrayXd pixels(static_cast<Eigen::Index>(bands.size()));
    Eigen::ArrayXd masked = pixels;
    Eigen::ArrayXd means = pixels;
    for (Eigen::Index b = 0; b < pixels.size(); ++b) {
        const loops::Sums& sums = bands[static_cast<std::size_t>(b)];
        const std::int64_t valid = sums.count - sums.excluded;
        pixels(b) = static_cast<double>(sums.count);
        masked(b) = static_cast<double>(sums.excluded);
        means(b) = valid > 0 ? sums.sum / static_cast<double>(valid)
                             : std::numeric_limits<double>::quiet_NaN();
    }
    tell(account, "pixels", "px", pixels);
    tell(account, "masked", "px", masked);
    tell(account, "mean", "", means);
}

} // namespace

bool ConvertNanToNodata::isApplicable() const {
    return true;
}

RowWork ConvertNanToNodata::prepare(const RowTask& task) const {
    if (task.account == nullptr) {
        return {[](const Row& row) { loops::replaceNan(row.pixels, row.size, kNoData); }};
    }
    // While the row is in the cache, where it costs less than in a pass of its own: `told` of
    // bench/ChainBenchmark.cpp measures it.
    const auto sums = std::make_shared<std::vector<loops::Sums>>(task.bands.size());
    return {[sums](const Row& row) {
                loops::replaceNan(row.pixels, row.size, kNoData);
                (*sums)[row.band].add(loops::sumsWithout(row.pixels, row.size, kNoData));
            },
            [sums](Account* told) { tellPixels(*sums, told); }};
}

} // namespace tessik::radiometry::corrector
