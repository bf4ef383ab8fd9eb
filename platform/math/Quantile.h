#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace tessik {

/// The value at a share of the way from the least to the greatest; NaN where there is none. Values
/// that are not finite do not count.
inline double quantile(std::vector<double> values, double share) {
    values.erase(std::remove_if(values.begin(),
                                values.end(),
                                [](double value) { return !std::isfinite(value); }),
                 values.end());
    if (values.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto index = std::lround(share * static_cast<double>(values.size() - 1));
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(index);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// The value in the middle.
inline double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

} // namespace tessik
