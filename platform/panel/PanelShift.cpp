// Edges are where they are in all bands, however bright what lies between them is: the magnitude of
// the gradient is compared, by its normalised correlation (J. P. Lewis, Fast normalized
// cross-correlation, Vision Interface, 1995), first of images of a quarter of the size.
#include "platform/panel/PanelShift.h"

#include "platform/panel/Levels.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace tessik::target {
namespace {

/// Between bands of the rigs that were looked at, of painted codes too, the correlation is 0.84 and
/// more, and 1.75 times that of any other place; where there is no panel, 0.22 at most.
constexpr double kMinCorrelation = 0.6;
constexpr double kMinRatio = 1.4;

/// How far around the panel its surroundings are compared, and what is another place than the best,
/// in sides of the code.
constexpr double kSurroundings = 0.5;
constexpr double kElsewhere = 0.25;

/// The code is enlarged about its centre by this factor, so that its rim is hidden with it: nothing
/// of them is compared.
constexpr double kHidden = 1.15;

/// The number of sizes, and the side of a pixel of the smallest one in px. Boxes begin at multiples
/// of it, and so agree in all sizes.
constexpr std::size_t kSizes = 3;
constexpr Eigen::Index kSmallestPixel = 4;

/// How far the search goes around the place that the size before found, px.
constexpr Eigen::Index kRefinement = 3;

/// So much of the pattern has to be inside the image.
constexpr double kMinOverlap = 0.6;

using PixelBox = Eigen::AlignedBox<Eigen::Index, 2>; // its last corner included

PixelBox inside(const Eigen::AlignedBox2d& wanted, const BandMatrix& band) {
    const auto down = [](double px, Eigen::Index most) {
        const double last = static_cast<double>(most - 1);
        return static_cast<Eigen::Index>(std::clamp(px, 0.0, last)) / kSmallestPixel *
               kSmallestPixel;
    };
    const Eigen::Index rows = band.rows();
    const Eigen::Index cols = band.cols();
    return {Eigen::Matrix<Eigen::Index, 2, 1>(down(wanted.min().x(), cols),
                                              down(wanted.min().y(), rows)),
            Eigen::Matrix<Eigen::Index, 2, 1>(down(wanted.max().x(), cols) - 1,
                                              down(wanted.max().y(), rows) - 1)};
}

/// The magnitude of the gradient of each pixel but those at the edges, from the eight around it
/// (Sobel).
BandMatrix gradientOf(const Samples& samples) {
    BandMatrix result = BandMatrix::Zero(samples.rows(), samples.cols());
    const BandMatrix values = samples.cast<float>();
    for (Eigen::Index y = 1; y + 1 < values.rows(); ++y) {
        for (Eigen::Index x = 1; x + 1 < values.cols(); ++x) {
            const auto around = values.block<3, 3>(y - 1, x - 1);
            const Eigen::RowVector3f weights(1.0F, 2.0F, 1.0F);
            const float across = weights * (around.col(2) - around.col(0));
            const float along = (around.row(2) - around.row(0)) * weights.transpose();
            result(y, x) = std::hypot(across, along);
        }
    }
    return result;
}

/// The gradient in a box, at full size, half of it, and so on.
std::array<BandMatrix, kSizes> gradientsIn(const PixelBox& box, const BandMatrix& band) {
    Samples samples = samplesOf(band.block(box.min().y(),
                                           box.min().x(),
                                           box.max().y() - box.min().y() + 1,
                                           box.max().x() - box.min().x() + 1));
    std::array<BandMatrix, kSizes> gradients;
    for (BandMatrix& gradient : gradients) {
        gradient = gradientOf(samples);
        samples = halved(samples);
    }
    return gradients;
}

/// What is looked for: a gradient, and which of its pixels count.
struct Pattern {
    BandMatrix gradient;
    BandMatrix weight; ///< 0 or 1
};

bool isAmong(const Eigen::Vector2d& place, const Corners& corners) {
    int sides = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Eigen::Vector2d side = corners[(i + 1) % corners.size()] - corners[i];
        const Eigen::Vector2d offset = place - corners[i];
        sides += side.x() * offset.y() - side.y() * offset.x() > 0.0 ? 1 : -1;
    }
    return std::abs(sides) == static_cast<int>(corners.size());
}

Pattern patternOf(const BandMatrix& gradient, const Corners& code, const PixelBox& box, double px) {
    Corners hidden = code;
    const Eigen::Vector2d middle = 0.25 * (code[0] + code[1] + code[2] + code[3]);
    for (Eigen::Vector2d& corner : hidden) {
        corner = middle + kHidden * (corner - middle);
    }
    Pattern pattern = {gradient, BandMatrix::Ones(gradient.rows(), gradient.cols())};
    for (Eigen::Index y = 0; y < gradient.rows(); ++y) {
        for (Eigen::Index x = 0; x < gradient.cols(); ++x) {
            const Eigen::Vector2d place =
                px * Eigen::Vector2d(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5) +
                box.min().cast<double>() - Eigen::Vector2d::Constant(0.5);
            if (isAmong(place, hidden)) {
                pattern.weight(y, x) = 0.0F;
            }
        }
    }
    return pattern;
}

/// The correlation of the pattern and the image where the pattern's first pixel lies at (x, y); -1
/// where too little of it is inside.
double
correlation(const Pattern& pattern, const BandMatrix& image, Eigen::Index x, Eigen::Index y) {
    const Eigen::Index left = std::max<Eigen::Index>(0, -x);
    const Eigen::Index top = std::max<Eigen::Index>(0, -y);
    const Eigen::Index cols = std::min(pattern.gradient.cols(), image.cols() - x) - left;
    const Eigen::Index rows = std::min(pattern.gradient.rows(), image.rows() - y) - top;
    if (rows <= 0 || cols <= 0 ||
        static_cast<double>(rows * cols) <
            kMinOverlap * static_cast<double>(pattern.gradient.size())) {
        return -1.0;
    }
    const auto weight = pattern.weight.block(top, left, rows, cols).array();
    const auto wanted = pattern.gradient.block(top, left, rows, cols).array();
    const auto given = image.block(y + top, x + left, rows, cols).array();
    const float count = weight.sum();
    const float wantedMean = (weight * wanted).sum() / count;
    const float givenMean = (weight * given).sum() / count;
    const float both = (weight * (wanted - wantedMean) * (given - givenMean)).sum();
    const float wantedSquares = (weight * (wanted - wantedMean).square()).sum();
    const float givenSquares = (weight * (given - givenMean).square()).sum();
    const float product = wantedSquares * givenSquares;
    return product > 0.0F ? static_cast<double>(both / std::sqrt(product)) : -1.0;
}

struct Match {
    Eigen::Index x = 0;
    Eigen::Index y = 0;
    double correlation = -1.0;
};

/// All places of the pattern's first pixel up to a distance from one.
std::vector<Match> matchesAround(const Match& middle,
                                 Eigen::Index distance,
                                 const Pattern& pattern,
                                 const BandMatrix& image) {
    std::vector<Match> matches;
    for (Eigen::Index y = middle.y - distance; y <= middle.y + distance; ++y) {
        for (Eigen::Index x = middle.x - distance; x <= middle.x + distance; ++x) {
            matches.push_back({x, y, correlation(pattern, image, x, y)});
        }
    }
    return matches;
}

Match bestOf(const std::vector<Match>& matches) {
    return *std::max_element(matches.begin(), matches.end(), [](const Match& a, const Match& b) {
        return a.correlation < b.correlation;
    });
}

/// Whether the best place is like the pattern, and no other place but its neighbours nearly as
/// much.
bool isClear(const Match& best, const std::vector<Match>& matches, double neighbourhood) {
    return best.correlation >= kMinCorrelation &&
           std::none_of(matches.begin(), matches.end(), [&](const Match& other) {
               const double distance = std::hypot(static_cast<double>(other.x - best.x),
                                                  static_cast<double>(other.y - best.y));
               return distance > neighbourhood && kMinRatio * other.correlation > best.correlation;
           });
}

} // namespace

std::optional<Eigen::Vector2d>
panelShift(const SeenPanel& seen, const BandMatrix& band, double reach) {
    const double side = (seen.code[1] - seen.code[0]).norm();
    Eigen::AlignedBox2d panel;
    for (const Eigen::Vector2d& corner : seen.code) {
        panel.extend(corner);
    }
    for (const image::Point& point : seen.region) {
        panel.extend(Eigen::Vector2d(point.x(), point.y()));
    }
    const auto grown = [&panel](double px) {
        const Eigen::Vector2d margin = Eigen::Vector2d::Constant(px);
        return Eigen::AlignedBox2d(panel.min() - margin, panel.max() + margin);
    };
    const PixelBox from = inside(grown(kSurroundings * side), seen.band);
    const PixelBox to = inside(grown(kSurroundings * side + reach), band);
    const std::array<BandMatrix, kSizes> wanted = gradientsIn(from, seen.band);
    const std::array<BandMatrix, kSizes> given = gradientsIn(to, band);

    Match best;
    for (std::size_t size = kSizes; size-- > 0;) {
        const auto pixel = static_cast<Eigen::Index>(1) << size;
        const Pattern pattern =
            patternOf(wanted[size], seen.code, from, static_cast<double>(pixel));
        if (size + 1 < kSizes) {
            best = bestOf(
                matchesAround({2 * best.x, 2 * best.y, 0.0}, kRefinement, pattern, given[size]));
            continue;
        }
        const Match unmoved = {(from.min().x() - to.min().x()) / pixel,
                               (from.min().y() - to.min().y()) / pixel};
        const auto distance = static_cast<Eigen::Index>(reach) / pixel;
        const std::vector<Match> matches = matchesAround(unmoved, distance, pattern, given[size]);
        best = bestOf(matches);
        if (!isClear(best, matches, kElsewhere * side / static_cast<double>(pixel))) {
            return std::nullopt;
        }
    }
    return Eigen::Vector2d(static_cast<double>(best.x + to.min().x() - from.min().x()),
                           static_cast<double>(best.y + to.min().y() - from.min().y()));
}

} // namespace tessik::target
