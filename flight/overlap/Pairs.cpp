#include "flight/overlap/Pairs.h"

#include "platform/math/Angle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace tessik::flight {
namespace {

constexpr double kSameHeading = 20.0; ///< degrees
constexpr double kStraight = 30.0;    ///< a course that changes by more is a turn, degrees
constexpr double kLongPause = 3.0;    ///< times the median interval or step
constexpr double kHover = 0.25;       ///< times the median step
constexpr double kFarAcross = 1.5;    ///< times the median distance of neighbours across

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <typename Item>
std::vector<Item> spread(const std::vector<Item>& items, std::size_t count) {
    if (items.size() <= count) {
        return items;
    }
    std::vector<Item> some;
    for (std::size_t i = 0; i < count; ++i) {
        some.push_back(items[(2 * i + 1) * items.size() / (2 * count)]);
    }
    return some;
}

Eigen::Vector2d onMap(const Station& station) {
    return station.position.head<2>();
}

/// The images of one camera in the order of time, those near the ground left out.
class Line {
public:
    explicit Line(std::vector<Station>& stations) : m_stations(stations) {
        m_order.resize(stations.size());
        std::iota(m_order.begin(), m_order.end(), std::size_t{0});
        std::stable_sort(m_order.begin(), m_order.end(), [&](std::size_t a, std::size_t b) {
            return stations[a].time < stations[b].time;
        });
        leaveGroundOut();
        std::vector<double> intervals;
        std::vector<double> steps;
        for (std::size_t i = 1; i < m_order.size(); ++i) {
            intervals.push_back(at(i).time - at(i - 1).time);
            steps.push_back(move(i - 1, i).norm());
        }
        m_interval = medianOf(std::move(intervals));
        m_step = medianOf(std::move(steps));
        for (std::size_t i = 0; i < m_order.size(); ++i) {
            Station& station = m_stations[m_order[i]];
            if (std::isnan(station.heading)) {
                station.heading = courseAt(i);
            }
        }
    }

    [[nodiscard]] std::vector<Pair> along() const {
        std::vector<Pair> pairs;
        for (std::size_t i = 1; i < m_order.size(); ++i) {
            const double step = move(i - 1, i).norm();
            if (at(i).time - at(i - 1).time <= kLongPause * m_interval &&
                step <= kLongPause * m_step && step > kHover * m_step &&
                std::abs(turnBetween(at(i - 1).heading, at(i).heading)) <= kSameHeading) {
                pairs.push_back({m_order[i - 1], m_order[i], true});
            }
        }
        return pairs;
    }

    /// @param count how many are looked for, spread evenly; those that are far apart do not count
    [[nodiscard]] std::vector<Pair> across(std::size_t count) const {
        std::vector<std::size_t> onLines;
        for (std::size_t i = 1; i + 1 < m_order.size(); ++i) {
            if (isStraight(i)) {
                onLines.push_back(i);
            }
        }
        std::vector<Pair> pairs;
        std::vector<double> distances;
        for (const std::size_t i : spread(onLines, count)) {
            if (const auto neighbour = neighbourAcross(i, onLines)) {
                pairs.push_back(
                    {m_order[std::min(i, *neighbour)], m_order[std::max(i, *neighbour)], false});
                distances.push_back(move(i, *neighbour).norm());
            }
        }
        const double farthest = kFarAcross * medianOf(distances);
        std::vector<Pair> near;
        for (std::size_t p = 0; p < pairs.size(); ++p) {
            const bool isTwice = std::any_of(near.begin(), near.end(), [&](const Pair& other) {
                return other.first == pairs[p].first && other.second == pairs[p].second;
            });
            if (distances[p] <= farthest && !isTwice) {
                near.push_back(pairs[p]);
            }
        }
        return near;
    }

private:
    [[nodiscard]] const Station& at(std::size_t i) const { return m_stations[m_order[i]]; }
    [[nodiscard]] Eigen::Vector2d move(std::size_t from, std::size_t to) const {
        return onMap(at(to)) - onMap(at(from));
    }

    void leaveGroundOut() {
        constexpr double kFlying = 10.0; // m; below it, heights tell only how good the receiver is
        std::vector<double> heights;
        for (const std::size_t i : m_order) {
            heights.push_back(m_stations[i].position.z());
        }
        if (heights.empty()) {
            return;
        }
        const double start = heights.front();
        const double median = medianOf(heights) - start;
        if (median > kFlying) {
            const auto isLow = [&](std::size_t i) {
                return m_stations[i].position.z() - start < 0.5 * median;
            };
            m_order.erase(std::remove_if(m_order.begin(), m_order.end(), isLow), m_order.end());
        }
    }

    [[nodiscard]] double courseAt(std::size_t i) const {
        if (m_order.size() < 2) {
            return 0.0;
        }
        const Eigen::Vector2d way = i + 1 < m_order.size() ? move(i, i + 1) : move(i - 1, i);
        return std::atan2(way.x(), way.y()) / kDegree;
    }

    [[nodiscard]] bool isStraight(std::size_t i) const {
        return move(i, i + 1).norm() > kHover * m_step &&
               std::abs(turnBetween(courseAt(i - 1), courseAt(i))) <= kStraight;
    }

    /// The nearest one that is not before or behind on the same line.
    [[nodiscard]] std::optional<std::size_t>
    neighbourAcross(std::size_t i, const std::vector<std::size_t>& others) const {
        const Eigen::Vector2d course = move(i, i + 1).normalized();
        std::optional<std::size_t> nearest;
        double least = std::numeric_limits<double>::infinity();
        for (const std::size_t other : others) {
            const Eigen::Vector2d way = move(i, other);
            const double forward = way.dot(course);
            const double sideways = course.x() * way.y() - course.y() * way.x();
            if (std::abs(at(other).time - at(i).time) > kLongPause * m_interval &&
                std::abs(sideways) >= std::abs(forward) && way.norm() < least) {
                least = way.norm();
                nearest = other;
            }
        }
        return nearest;
    }

    std::vector<Station>& m_stations;
    std::vector<std::size_t> m_order; ///< indices of stations
    double m_interval = 0.0;          ///< s
    double m_step = 0.0;              ///< m
};

} // namespace

double turnBetween(double first, double second) {
    return std::remainder(second - first, 360.0);
}

std::vector<Pair> choosePairs(std::vector<Station>& stations, std::size_t count) {
    const Line line(stations);
    const std::vector<Pair> along = line.along();
    // Some images have no neighbour across, and some neighbours have each other.
    std::vector<Pair> across = spread(line.across(4 * count), count);
    const std::size_t alongCount =
        std::min(along.size(), std::max(count - count / 2, count - std::min(count, across.size())));
    across = spread(across, count - std::min(count, alongCount));
    std::vector<Pair> pairs = spread(along, alongCount);
    pairs.insert(pairs.end(), across.begin(), across.end());
    return pairs;
}

} // namespace tessik::flight
