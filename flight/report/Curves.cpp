#include "flight/report/Curves.h"

#include <boost/geometry/algorithms/area.hpp>
#include <boost/geometry/algorithms/convex_hull.hpp>
#include <boost/geometry/geometries/multi_point.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <boost/geometry/strategies/strategies.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tessik::flight::report {
namespace {

bool isAbsent(double value) {
    return std::isnan(value);
}

/// Difference of longitudes, across the antimeridian where that is shorter.
double longitudeDifference(double degrees, double from) {
    return std::remainder(degrees - from, 360.0);
}

bool areEqual(const Curve& a, const Curve& b) {
    constexpr double kMillisecond = 1e-3;
    constexpr double kRelative = 1e-3; // below what a chart can show
    if (a.values.size() != b.values.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        if (std::abs(a.seconds[i] - b.seconds[i]) > kMillisecond ||
            std::abs(a.values[i] - b.values[i]) > kRelative * std::abs(a.values[i]) + 1e-9) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<std::size_t> keepExtremes(const std::vector<double>& values, std::size_t most) {
    std::vector<std::size_t> kept;
    if (values.size() <= most) {
        kept.resize(values.size());
        std::iota(kept.begin(), kept.end(), std::size_t{0});
        return kept;
    }
    const std::size_t inner = values.size() - 2;
    const std::size_t stretches = (most - 2) / 2;
    kept.push_back(0);
    for (std::size_t s = 0; s < stretches; ++s) {
        std::size_t least = 1 + inner * s / stretches;
        std::size_t greatest = least;
        for (std::size_t i = least; i < 1 + inner * (s + 1) / stretches; ++i) {
            least = isAbsent(values[least]) || values[i] < values[least] ? i : least;
            greatest = isAbsent(values[greatest]) || values[i] > values[greatest] ? i : greatest;
        }
        kept.push_back(std::min(least, greatest));
        if (least != greatest) {
            kept.push_back(std::max(least, greatest));
        }
    }
    kept.push_back(values.size() - 1);
    return kept;
}

std::vector<Curve> joinEqual(std::vector<Curve> curves, const std::string& joined) {
    std::vector<Curve> distinct;
    const std::size_t count = curves.size();
    for (Curve& curve : curves) {
        const auto same = std::find_if(distinct.begin(), distinct.end(), [&](const Curve& other) {
            return areEqual(curve, other);
        });
        if (same == distinct.end()) {
            distinct.push_back(std::move(curve));
        } else {
            same->label += ", " + curve.label;
            same->wavelengthNm = kAbsent;
        }
    }
    if (distinct.size() == 1 && count > 1) {
        distinct.front().label = joined;
    }
    return distinct;
}

Timeline::Timeline(const RunFiles& run) : m_run(run), m_order(run.images.size()) {
    const std::vector<ImageRecord>& images = run.images;
    std::iota(m_order.begin(), m_order.end(), std::size_t{0});
    std::stable_sort(m_order.begin(), m_order.end(), [&](std::size_t a, std::size_t b) {
        const double timeA = images[a].timeUnix;
        const double timeB = images[b].timeUnix;
        return timeA < timeB || (!isAbsent(timeA) && isAbsent(timeB));
    });
    double sumLatitude = 0.0;
    double sumLongitude = 0.0; // relative to the first
    double firstLongitude = kAbsent;
    int positions = 0;
    for (const std::size_t i : m_order) {
        const ImageRecord& image = images[i];
        if (!isAbsent(image.timeUnix)) {
            m_start = isAbsent(m_start) ? image.timeUnix : m_start;
            m_duration = image.timeUnix - m_start;
        }
        if (image.hasPosition()) {
            firstLongitude = positions == 0 ? image.longitudeDeg : firstLongitude;
            sumLatitude += image.latitudeDeg;
            sumLongitude += longitudeDifference(image.longitudeDeg, firstLongitude);
            ++positions;
        }
    }
    if (positions > 0) {
        m_axes = geo::CoordSystem::localAt(
            {sumLatitude / positions, firstLongitude + sumLongitude / positions, 0.0});
    }
}

Eigen::Vector2d Timeline::local(const ImageRecord& image) const {
    Eigen::Vector3d position = Eigen::Vector3d::Constant(kAbsent);
    (void)m_axes.fromWGS84({image.latitudeDeg, image.longitudeDeg, 0.0}, position);
    return position.head<2>();
}

std::optional<double> Timeline::area() const {
    namespace bg = boost::geometry;
    using Point = bg::model::d2::point_xy<double>;
    bg::model::multi_point<Point> points;
    for (const ImageRecord& image : m_run.images) {
        if (image.hasPosition()) {
            const Eigen::Vector2d position = local(image);
            points.push_back({position.x(), position.y()});
        }
    }
    if (points.size() < 3) {
        return std::nullopt;
    }
    bg::model::polygon<Point> hull;
    bg::convex_hull(points, hull);
    constexpr double kLeast = 1.0; // m2; what images on one line have is rounding
    const double area = std::abs(bg::area(hull));
    return area < kLeast ? std::nullopt : std::optional<double>(area);
}

Curve Timeline::curveOf(std::size_t camera,
                        const std::function<double(const ImageRecord&)>& value) const {
    Curve curve;
    for (const std::size_t i : m_order) {
        const ImageRecord& image = m_run.images[i];
        if (image.camera != camera || isAbsent(image.timeUnix)) {
            continue;
        }
        const double y = value(image);
        if (std::isfinite(y)) {
            curve.seconds.push_back(image.timeUnix - m_start);
            curve.values.push_back(y);
        }
    }
    return curve;
}

} // namespace tessik::flight::report
