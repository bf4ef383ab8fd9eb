#pragma once

#include <vector>

namespace tessik::flight {

/// A series without its jitter, and how far each value may be off.
struct Smoothed {
    std::vector<double> values;
    std::vector<double> standardErrors; ///< NaN where there is no value
};

/// Standard deviation of the jitter of a series: from its second differences, robustly, so that
/// drifts and steps count for nothing. Differences across gaps are left out.
/// @param times s, ascending
/// @param values NaN = none
/// @return NaN where fewer than 8 second differences exist
double jitterOf(const std::vector<double>& times, const std::vector<double>& values, double gap);

struct SmoothingOptions {
    double jitter = 0.0;     ///< standard deviation of a value
    double halfWidth = 45.0; ///< s, of the widest window
};

/// Fits a straight line to the values around each moment. Its window reaches to either side as far
/// as the lines through shorter and longer stretches agree within their errors (the intersection of
/// confidence intervals: A. Goldenshluger and A. Nemirovski, "On spatially adaptive estimation of
/// nonparametric regression", Math. Methods of Statistics 6 (1997) 135-170), so that steady light
/// is averaged over a minute and the edge of a cloud stays an edge. Single values that lie far off
/// the line do not count.
/// @param times s, ascending
/// @param values NaN = none
Smoothed smooth(const std::vector<double>& times,
                const std::vector<double>& values,
                const SmoothingOptions& options);

} // namespace tessik::flight
