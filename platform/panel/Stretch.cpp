#include "platform/panel/Stretch.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tessik::target {

Range rangeOf(const BandMatrix& band, const Percentiles& percentiles) {
    // Some ten thousand pixels tell the percentiles well enough.
    constexpr Eigen::Index kMostPixels = 50000;
    const Eigen::Index step = std::max<Eigen::Index>(1, band.size() / kMostPixels);
    std::vector<float> values;
    for (Eigen::Index i = 0; i < band.size(); i += step) {
        if (std::isfinite(band.data()[i])) {
            values.push_back(band.data()[i]);
        }
    }
    if (values.empty()) {
        return {};
    }
    const auto at = [&values](double share) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(
                                                share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    return {at(percentiles.low), at(percentiles.high)};
}

Bytes stretched(const BandMatrix& band, const Range& range) {
    const float factor = 255.0F / (range.high - range.low);
    return band.unaryExpr([&range, factor](float value) -> std::uint8_t {
        const float level = (value - range.low) * factor;
        return level > 0.0F ? static_cast<std::uint8_t>(std::min(level + 0.5F, 255.0F)) : 0;
    });
}

} // namespace tessik::target
