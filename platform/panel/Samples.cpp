#include "platform/panel/Samples.h"

#include "platform/panel/Stretch.h"

#include <algorithm>

namespace tessik::target {
namespace {

constexpr float kMostSample = 65535.0F;

} // namespace

Samples samplesOf(const BandMatrix& band) {
    const Range range = rangeOf(band, {0.0, 1.0});
    if (!(range.high > range.low)) {
        return {};
    }
    const float factor = kMostSample / (range.high - range.low);
    return band.unaryExpr([&range, factor](float value) -> std::uint16_t {
        const float level = (value - range.low) * factor;
        return level > 0.0F ? static_cast<std::uint16_t>(std::min(level, kMostSample)) : 0;
    });
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
