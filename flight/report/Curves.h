#pragma once

#include "flight/report/RunFiles.h"
#include "platform/geo/CoordSystem.h"

#include <Eigen/Core>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight::report {

/// Most points of one curve in a page.
constexpr std::size_t kMaxPoints = 2000;

/// Positions of at most `most` (4 or more) of the values, in order: the first and the last one, and
/// the least and the greatest of each of equal stretches in between. So no peak is lost. Absent
/// values (NaN) are never extremes.
std::vector<std::size_t> keepExtremes(const std::vector<double>& values, std::size_t most);

/// One curve: seconds since the first capture, and values. Only finite ones.
struct Curve {
    std::string label;
    double wavelengthNm = kAbsent;
    std::vector<double> seconds;
    std::vector<double> values;
};

/// Curves that show what an earlier one shows are joined with it: cameras of one body share its
/// light sensor and its place under the sun.
/// @param joined label of a curve of all
std::vector<Curve> joinEqual(std::vector<Curve> curves, const std::string& joined);

/// The images of a run in order of time, and what they have in common.
class Timeline {
public:
    explicit Timeline(const RunFiles& run);

    /// Indices in run.images, by capture time, those without one last.
    [[nodiscard]] const std::vector<std::size_t>& order() const { return m_order; }
    /// Capture time of the first image, or kAbsent.
    [[nodiscard]] double start() const { return m_start; }
    /// Seconds from the first capture to the last, or kAbsent.
    [[nodiscard]] double duration() const { return m_duration; }

    /// East and north in metres, from the middle of the positions.
    [[nodiscard]] Eigen::Vector2d local(const ImageRecord& image) const;
    /// m2 inside the outline (convex hull) of the positions; absent for fewer than three.
    [[nodiscard]] std::optional<double> area() const;

    /// The values of one camera against time.
    [[nodiscard]] Curve curveOf(std::size_t camera,
                                const std::function<double(const ImageRecord&)>& value) const;

private:
    const RunFiles& m_run;
    std::vector<std::size_t> m_order;
    double m_start = kAbsent;
    double m_duration = kAbsent;
    geo::CoordSystem m_axes; ///< east, north and up in the middle of the positions
};

} // namespace tessik::flight::report
