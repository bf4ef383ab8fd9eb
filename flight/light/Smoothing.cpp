#include "flight/light/Smoothing.h"

#include "platform/math/Quantile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace tessik::flight {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kDeviationOfMedian = 1.4826; ///< of the normal distribution

/// The moments that have a value.
struct Known {
    std::vector<double> times;
    std::vector<double> values;
    std::vector<std::size_t> indices; ///< in the caller's lists
};

Known knownOf(const std::vector<double>& times, const std::vector<double>& values) {
    Known known;
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (std::isfinite(values[i]) && std::isfinite(times[i])) {
            known.times.push_back(times[i]);
            known.values.push_back(values[i]);
            known.indices.push_back(i);
        }
    }
    return known;
}

/// What a line through a stretch says of one moment.
struct Estimate {
    double value = kNaN;
    double variance = kNaN; ///< in units of that of a value
};

/// A line through the values from first to last, at a moment; a mean where the moments do not
/// differ, or are too few for a slope.
/// @param weights one a value of the stretch, or empty = all alike
Estimate lineAt(const Known& known,
                std::size_t first,
                std::size_t last,
                double time,
                const std::vector<double>& weights = {}) {
    double sum = 0.0;
    double meanTime = 0.0;
    double mean = 0.0;
    const auto weight = [&](std::size_t i) { return weights.empty() ? 1.0 : weights[i - first]; };
    for (std::size_t i = first; i <= last; ++i) {
        sum += weight(i);
        meanTime += weight(i) * (known.times[i] - time);
        mean += weight(i) * known.values[i];
    }
    if (!(sum > 0.0)) {
        return {};
    }
    meanTime /= sum;
    mean /= sum;
    double squares = 0.0;
    double products = 0.0;
    for (std::size_t i = first; i <= last; ++i) {
        const double offset = known.times[i] - time - meanTime;
        squares += weight(i) * offset * offset;
        products += weight(i) * offset * (known.values[i] - mean);
    }
    constexpr std::size_t kFewest = 4;
    if (last - first + 1 < kFewest || !(squares > 0.0)) {
        return {mean, 1.0 / sum};
    }
    return {mean - meanTime * products / squares, 1.0 / sum + meanTime * meanTime / squares};
}

constexpr std::array<std::size_t, 8> kReaches = {1, 2, 4, 7, 12, 20, 33, 54};
/// Of the intervals that have to intersect, in standard errors.
constexpr double kInterval = 2.0;

/// How many values to one side belong to the stretch in which the light changes evenly.
/// @param isBefore the side
std::size_t
reachFrom(const Known& known, std::size_t i, bool isBefore, const SmoothingOptions& options) {
    double lower = known.values[i] - kInterval * options.jitter;
    double upper = known.values[i] + kInterval * options.jitter;
    std::size_t reach = 0;
    for (const std::size_t next : kReaches) {
        const bool isInside = isBefore ? next <= i : i + next < known.times.size();
        if (!isInside) {
            break;
        }
        const std::size_t end = isBefore ? i - next : i + next;
        if (std::abs(known.times[end] - known.times[i]) > options.halfWidth) {
            break;
        }
        const Estimate estimate = lineAt(known, std::min(i, end), std::max(i, end), known.times[i]);
        const double width = kInterval * options.jitter * std::sqrt(estimate.variance);
        lower = std::max(lower, estimate.value - width);
        upper = std::min(upper, estimate.value + width);
        if (lower > upper) {
            break;
        }
        reach = next;
    }
    return reach;
}

/// The line through a stretch of which single values may lie far off: twice fitted, with Tukey's
/// biweight.
Estimate robustLineAt(
    const Known& known, std::size_t first, std::size_t last, std::size_t i, double jitter) {
    constexpr double kFar = 4.685;
    const double time = known.times[i];
    std::vector<double> weights;
    Estimate estimate = lineAt(known, first, last, time);
    if (last - first < 4 || !(jitter > 0.0)) {
        return estimate;
    }
    for (int pass = 0; pass < 2; ++pass) {
        // The slope, from the line's values at two moments.
        const double ahead = lineAt(known, first, last, time + 1.0, weights).value;
        const double slope = ahead - estimate.value;
        weights.clear();
        for (std::size_t j = first; j <= last; ++j) {
            const double line = estimate.value + slope * (known.times[j] - time);
            const double far = (known.values[j] - line) / (kFar * jitter);
            const double rest = 1.0 - far * far;
            weights.push_back(rest > 0.0 ? rest * rest : 0.0);
        }
        const Estimate next = lineAt(known, first, last, time, weights);
        if (!std::isfinite(next.value)) {
            break;
        }
        estimate = next;
    }
    return estimate;
}

} // namespace

double jitterOf(const std::vector<double>& times, const std::vector<double>& values, double gap) {
    const Known known = knownOf(times, values);
    std::vector<double> differences;
    for (std::size_t i = 1; i + 1 < known.times.size(); ++i) {
        const double before = known.times[i] - known.times[i - 1];
        const double after = known.times[i + 1] - known.times[i];
        if (before <= gap && after <= gap && before + after > 0.0) {
            const double share = before / (before + after);
            const double difference =
                known.values[i] - (1.0 - share) * known.values[i - 1] - share * known.values[i + 1];
            const double variance = 1.0 + (1.0 - share) * (1.0 - share) + share * share;
            differences.push_back(std::abs(difference) / std::sqrt(variance));
        }
    }
    constexpr std::size_t kFewest = 8;
    return differences.size() < kFewest ? kNaN
                                        : kDeviationOfMedian * median(std::move(differences));
}

Smoothed smooth(const std::vector<double>& times,
                const std::vector<double>& values,
                const SmoothingOptions& options) {
    const Known known = knownOf(times, values);
    Smoothed result{std::vector<double>(times.size(), kNaN),
                    std::vector<double>(times.size(), kNaN)};
    for (std::size_t i = 0; i < known.times.size(); ++i) {
        const std::size_t first = i - reachFrom(known, i, true, options);
        const std::size_t last = i + reachFrom(known, i, false, options);
        const Estimate estimate = robustLineAt(known, first, last, i, options.jitter);
        result.values[known.indices[i]] = estimate.value;
        result.standardErrors[known.indices[i]] = options.jitter * std::sqrt(estimate.variance);
    }
    return result;
}

} // namespace tessik::flight
