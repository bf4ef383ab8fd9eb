// Scans rows for the proportions of a mark and looks along columns and diagonals where they are
// found. Real ground and random textures have next to none that pass all four directions.
#include "platform/panel/FinderMarks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tessik::target {
namespace {

constexpr double kMarkWidth = 7.0; ///< modules
constexpr double kNarrowestModule = 1.3;
constexpr double kWidestModule = 6.0;

/// A value is dark or light against the mean of those around it in its row, this far on each side.
constexpr Eigen::Index kReach = 16;

/// The square in the middle of a mark is three modules high.
constexpr Eigen::Index kRowStep = 2;

constexpr std::size_t kMaxMarks = 40;

/// The six edges of a mark along a line through it.
using Edges = std::array<double, 6>;

/// Whether edges lie as 1:1:3:1:1. Ink that runs, blur and a threshold that is off move all edges
/// towards the light or all towards the dark: what lies between two edges of one kind keeps its
/// width, and is held to it more strictly.
bool isMark(const Edges& edges, double narrowestModule) {
    const double module = (edges[5] - edges[0]) / kMarkWidth;
    if (!(module >= narrowestModule && module <= kWidestModule)) {
        return false;
    }
    constexpr std::array<double, 5> kWidths = {1.0, 1.0, 3.0, 1.0, 1.0};
    constexpr double kWidthTolerance = 0.8;
    constexpr double kPairTolerance = 0.65;
    const auto isOff = [&](std::size_t from, std::size_t to, double modules, double tolerance) {
        return std::abs(edges[to] - edges[from] - modules * module) > tolerance * module;
    };
    for (std::size_t i = 0; i < kWidths.size(); ++i) {
        if (isOff(i, i + 1, kWidths[i], kWidthTolerance) ||
            (i > 0 && isOff(i - 1, i + 1, kWidths[i - 1] + kWidths[i], kPairTolerance))) {
            return false;
        }
    }
    return true;
}

double markMiddle(const Edges& edges) {
    return 0.25 * (edges[0] + edges[2] + edges[3] + edges[5]);
}

double markLength(const Edges& edges) {
    return edges[5] - edges[0];
}

/// A run of neighbours in a row that are all dark or all light.
struct Run {
    double from = 0.0; ///< px
    std::uint16_t extreme = 0;
};

class MarkSearch {
public:
    explicit MarkSearch(const Samples& samples) : m_samples(samples) {}

    std::vector<FinderMark> all() {
        for (Eigen::Index row = 0; row < m_samples.rows(); row += kRowStep) {
            scan(row);
        }
        return std::move(m_marks);
    }

private:
    void scan(Eigen::Index row);
    void judgeLast(Eigen::Index row);
    void confirm(FinderMark mark);
    [[nodiscard]] bool isKnown(const FinderMark& mark) const;
    [[nodiscard]] std::optional<Edges>
    section(const FinderMark& mark, Eigen::Index stepX, Eigen::Index stepY) const;

    const Samples& m_samples;
    std::vector<Run> m_runs;
    std::vector<FinderMark> m_marks;
};

void MarkSearch::scan(Eigen::Index row) {
    const std::uint16_t* values = m_samples.row(row).data();
    const Eigen::Index cols = m_samples.cols();
    const Eigen::Index first = std::min(kReach, cols);
    auto count = static_cast<std::int32_t>(first);
    std::int32_t sum = 0;
    for (Eigen::Index x = 0; x < first; ++x) {
        sum += values[x];
    }
    m_runs.clear();
    std::int32_t before = 0;
    bool isLight = false;
    for (Eigen::Index x = 0; x < cols; ++x) {
        if (x + kReach < cols) {
            sum += values[x + kReach];
            ++count;
        }
        if (x > kReach) {
            sum -= values[x - kReach - 1];
            --count;
        }
        // At most 65535 x 33: both products fit.
        const std::int32_t above = values[x] * count - sum;
        if (x > 0 && (above > 0) == isLight) {
            std::uint16_t& extreme = m_runs.back().extreme;
            extreme = isLight ? std::max(extreme, values[x]) : std::min(extreme, values[x]);
        } else {
            isLight = above > 0;
            const double back = x > 0 ? static_cast<double>(above) / (above - before) : 0.5;
            if (!isLight) {
                judgeLast(row);
            }
            m_runs.push_back({static_cast<double>(x) - back, values[x]});
        }
        before = above;
    }
    if (isLight) {
        judgeLast(row);
    }
}

/// Whether the last runs of the row are light, the five of a mark, and light again.
void MarkSearch::judgeLast(Eigen::Index row) {
    constexpr std::size_t kRuns = 7;
    if (m_runs.size() < kRuns) {
        return;
    }
    const Run* runs = m_runs.data() + (m_runs.size() - kRuns);
    const Edges edges = {
        runs[1].from, runs[2].from, runs[3].from, runs[4].from, runs[5].from, runs[6].from};
    if (!isMark(edges, kNarrowestModule)) {
        return;
    }
    const auto [leastLight, mostLight] =
        std::minmax({runs[0].extreme, runs[2].extreme, runs[4].extreme, runs[6].extreme});
    const auto [leastDark, mostDark] =
        std::minmax({runs[1].extreme, runs[3].extreme, runs[5].extreme});
    // Blur leaves little of narrow rings; noise leaves less.
    constexpr double kMinShare = 0.2;
    if (leastLight - mostDark > kMinShare * (mostLight - leastDark)) {
        confirm({{markMiddle(edges), static_cast<double>(row)},
                 markLength(edges),
                 static_cast<double>(mostDark),
                 static_cast<double>(leastLight)});
    }
}

void MarkSearch::confirm(FinderMark mark) {
    const std::optional<Edges> column = section(mark, 0, 1);
    if (!column || !isMark(*column, kNarrowestModule)) {
        return;
    }
    mark.centre.y() += markMiddle(*column);
    const std::optional<Edges> row = section(mark, 1, 0);
    if (!row || !isMark(*row, kNarrowestModule)) {
        return;
    }
    mark.centre.x() += markMiddle(*row);
    const double width = markLength(*row);
    const double height = markLength(*column);
    constexpr double kMaxRatio = 1.8;
    if (std::max(width, height) > kMaxRatio * std::min(width, height)) {
        return;
    }
    mark.across = 0.5 * (width + height);
    for (const Eigen::Index slope : {1, -1}) {
        // A step is 1.41 px, and the mark is the shorter.
        const std::optional<Edges> diagonal = section(mark, 1, slope);
        if (!diagonal || !isMark(*diagonal, kNarrowestModule / std::sqrt(2.0))) {
            return;
        }
    }
    if (!isKnown(mark)) {
        m_marks.push_back(mark);
    }
}

/// Whether an earlier row has found it. Marks are roughly in the order of their rows.
bool MarkSearch::isKnown(const FinderMark& mark) const {
    constexpr double kSame = 0.3;
    constexpr double kWidestMark = kMarkWidth * kWidestModule;
    for (auto other = m_marks.rbegin();
         other != m_marks.rend() && other->centre.y() > mark.centre.y() - kWidestMark;
         ++other) {
        if ((other->centre - mark.centre).norm() < kSame * mark.across) {
            return true;
        }
    }
    return false;
}

/// The edges nearest to the mark's centre along a line, three on each side, in steps from it.
std::optional<Edges>
MarkSearch::section(const FinderMark& mark, Eigen::Index stepX, Eigen::Index stepY) const {
    const double threshold = 0.5 * (mark.dark + mark.light);
    const auto column = static_cast<Eigen::Index>(std::lround(mark.centre.x()));
    const auto row = static_cast<Eigen::Index>(std::lround(mark.centre.y()));
    const double start = stepX != 0 ? static_cast<double>(column) - mark.centre.x()
                                    : static_cast<double>(row) - mark.centre.y();
    constexpr auto kMaxSteps = static_cast<int>(kMarkWidth * kWidestModule);
    Edges edges{};
    for (const Eigen::Index side : {-1, 1}) {
        Eigen::Index x = column;
        Eigen::Index y = row;
        bool isLight = false;
        double before = -1.0;
        std::size_t found = 0;
        for (int step = 0; found < 3; ++step, x += side * stepX, y += side * stepY) {
            if (x < 0 || y < 0 || x >= m_samples.cols() || y >= m_samples.rows() ||
                step > kMaxSteps) {
                return std::nullopt;
            }
            const double above = static_cast<double>(m_samples(y, x)) - threshold;
            if ((above > 0.0) != isLight) {
                if (step == 0) {
                    return std::nullopt;
                }
                isLight = !isLight;
                const double at = step - above / (above - before);
                edges[side < 0 ? 2 - found : 3 + found] = start + static_cast<double>(side) * at;
                ++found;
            }
            before = above;
        }
    }
    return edges;
}

} // namespace

std::vector<FinderMark> finderMarks(const Samples& samples) {
    std::vector<FinderMark> marks = MarkSearch(samples).all();
    if (marks.size() > kMaxMarks) {
        const auto contrast = [](const FinderMark& mark) { return mark.light - mark.dark; };
        std::stable_sort(marks.begin(), marks.end(), [&](const FinderMark& a, const FinderMark& b) {
            return contrast(a) > contrast(b);
        });
        marks.resize(kMaxMarks);
    }
    return marks;
}

} // namespace tessik::target
