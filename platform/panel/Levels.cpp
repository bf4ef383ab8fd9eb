#include "platform/panel/Levels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tessik::target {
namespace {

/// 0 at and below the range, the largest level at and above it.
/// @param rounding added to each level before its fraction is dropped
template <typename Level>
Eigen::Matrix<Level, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>
levelsIn(const Range& range, float rounding, const BandMatrix& band) {
    constexpr float kLargest = std::numeric_limits<Level>::max();
    const float factor = kLargest / (range.high - range.low);
    return band.unaryExpr([&](float value) -> Level {
        const float level = (value - range.low) * factor;
        return level > 0.0F ? static_cast<Level>(std::min(level + rounding, kLargest)) : 0;
    });
}

} // namespace

Range rangeOf(const BandMatrix& band, const Percentiles& percentiles) {
    // Some ten thousand pixels tell the percentiles well enough.
    constexpr Eigen::Index kMaxPixels = 50000;
    const Eigen::Index step = std::max<Eigen::Index>(1, band.size() / kMaxPixels);
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
    return levelsIn<std::uint8_t>(range, 0.5F, band); // to the nearest level
}

Samples samplesOf(const BandMatrix& band) {
    const Range range = rangeOf(band, {0.0, 1.0});
    if (!(range.high > range.low)) {
        return {};
    }
    return levelsIn<std::uint16_t>(range, 0.0F, band);
}

Samples halved(const Samples& samples) {
    Samples result(samples.rows() / 2, samples.cols() / 2);
    for (Eigen::Index y = 0; y < result.rows(); ++y) {
        const std::uint16_t* upper = samples.row(2 * y).data();
        const std::uint16_t* lower = samples.row(2 * y + 1).data();
        for (Eigen::Index x = 0; x < result.cols(); ++x) {
            const int sum = upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
            result(y, x) = static_cast<std::uint16_t>((sum + 2) / 4);
        }
    }
    return result;
}

float valueAt(const Samples& samples, const Eigen::Vector2d& place) {
    // The last pixel of a row is reached from the one before it.
    const double x = std::clamp(place.x(), 0.0, static_cast<double>(samples.cols() - 1));
    const double y = std::clamp(place.y(), 0.0, static_cast<double>(samples.rows() - 1));
    const Eigen::Index column = std::min(static_cast<Eigen::Index>(x), samples.cols() - 2);
    const Eigen::Index row = std::min(static_cast<Eigen::Index>(y), samples.rows() - 2);
    const auto right = static_cast<float>(x - static_cast<double>(column));
    const auto down = static_cast<float>(y - static_cast<double>(row));
    const std::uint16_t* upper = samples.row(row).data() + column;
    const std::uint16_t* lower = samples.row(row + 1).data() + column;
    const auto between = [right](const std::uint16_t* values) {
        return (1.0F - right) * static_cast<float>(values[0]) +
               right * static_cast<float>(values[1]);
    };
    return (1.0F - down) * between(upper) + down * between(lower);
}

} // namespace tessik::target
