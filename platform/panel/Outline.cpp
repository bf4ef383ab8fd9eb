#include "platform/panel/Outline.h"

#include <boost/geometry/geometry.hpp>

#include <algorithm>
#include <cmath>

namespace tessik::target {

image::Ring outline(const Corners& corners) {
    boost::geometry::model::multi_point<image::Point> points;
    for (const Eigen::Vector2d& corner : corners) {
        points.emplace_back(static_cast<int>(std::lround(corner.x())),
                            static_cast<int>(std::lround(corner.y())));
    }
    image::Ring ring;
    boost::geometry::convex_hull(points, ring);
    if (boost::geometry::area(ring) == 0.0) {
        return {};
    }
    // The hull is clockwise where y points up; in an image it points down.
    std::reverse(ring.begin(), ring.end());
    return ring;
}

bool isInside(const Corners& corners, const BandMatrix& band) {
    const Eigen::Vector2d last(static_cast<double>(band.cols()) - 1.0,
                               static_cast<double>(band.rows()) - 1.0);
    return std::all_of(corners.begin(), corners.end(), [&last](const Eigen::Vector2d& corner) {
        return (corner.array() >= 0.0).all() && (corner.array() <= last.array()).all();
    });
}

} // namespace tessik::target
