#include "platform/image/Region.h"

#include <boost/geometry/algorithms/covered_by.hpp>
#include <boost/geometry/algorithms/envelope.hpp>
#include <boost/geometry/strategies/strategies.hpp>

#include <cmath>

namespace tessik::image {
namespace {

/// What corrected images hold where there is no valid value.
constexpr float kNoData = -10000.0F;

} // namespace

Box boundsOf(const Ring& region) {
    Box box;
    boost::geometry::envelope(region, box);
    return box;
}

BandMatrix blockOf(const Box& box, const BandMatrix& band) {
    const Point& first = box.min_corner();
    const Point& last = box.max_corner();
    return band.block(first.y(), first.x(), last.y() - first.y() + 1, last.x() - first.x() + 1);
}

RegionStats statsForRegion(const BandMatrix& block, const Box& boundingRect, const Ring& polygon) {
    RegionStats stats;
    double squares = 0.0; // sum of squared deviations, by Welford's recurrence
    for (Eigen::Index r = 0; r < block.rows(); ++r) {
        for (Eigen::Index c = 0; c < block.cols(); ++c) {
            const Point point(boundingRect.min_corner().x() + static_cast<int>(c),
                              boundingRect.min_corner().y() + static_cast<int>(r));
            if (!boost::geometry::covered_by(point, polygon)) {
                continue;
            }
            ++stats.pixelCount;
            const float value = block(r, c);
            if (!std::isfinite(value) || value == kNoData) {
                continue;
            }
            ++stats.validCount;
            const double deviation = static_cast<double>(value) - stats.mean;
            stats.mean += deviation / static_cast<double>(stats.validCount);
            squares += deviation * (static_cast<double>(value) - stats.mean);
        }
    }
    if (stats.validCount > 1) {
        stats.stdDev = std::sqrt(squares / static_cast<double>(stats.validCount - 1));
    }
    return stats;
}

} // namespace tessik::image
