// The plane-to-plane projection through four points: Hartley and Zisserman, Multiple View Geometry
// in Computer Vision, 2nd edition, 2003, section 4.1, with the last element set to 1.
#include "platform/panel/PanelSurface.h"

#include "platform/panel/Levels.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace tessik::target {
namespace {

/// The share of the square's side that is measured: what the decoder's corners leave uncertain
/// grows with the distance from the code, and the edge of the surface must not enter.
constexpr double kInnerShare = 0.8;

/// From the middle of the surface to its side, in sides of the code: the surface ends at 0.56 to
/// 0.89 on the panels that were measured, and the frame beyond 1.
constexpr double kBesideFrom = 0.58;
constexpr double kBesideTo = 1.2;
constexpr int kBesideCount = 21;

using Homography = Eigen::Matrix3d;

Corners squareAround(const Eigen::Vector2d& centre, double halfSide) {
    return {centre + Eigen::Vector2d(-halfSide, halfSide),
            centre + Eigen::Vector2d(-halfSide, -halfSide),
            centre + Eigen::Vector2d(halfSide, -halfSide),
            centre + Eigen::Vector2d(halfSide, halfSide)};
}

Corners lineFrom(const Eigen::Vector2d& middle, const Eigen::Vector2d& side) {
    Corners places;
    for (int i = 0; i < kBesideCount; ++i) {
        const double share = static_cast<double>(i) / (kBesideCount - 1);
        places.emplace_back(middle + (kBesideFrom + share * (kBesideTo - kBesideFrom)) * side);
    }
    return places;
}

/// Two equations a point: u (h7 x + h8 y + 1) = h1 x + h2 y + h3, and the like for v.
std::optional<Homography> homography(const Corners& from, const Corners& to) {
    Eigen::Matrix<double, 8, 8> left;
    Eigen::Matrix<double, 8, 1> right;
    for (Eigen::Index i = 0; i < 4; ++i) {
        const Eigen::Vector2d& p = from[static_cast<std::size_t>(i)];
        const Eigen::Vector2d& q = to[static_cast<std::size_t>(i)];
        left.row(2 * i) << p.x(), p.y(), 1, 0, 0, 0, -q.x() * p.x(), -q.x() * p.y();
        left.row(2 * i + 1) << 0, 0, 0, p.x(), p.y(), 1, -q.y() * p.x(), -q.y() * p.y();
        right.segment<2>(2 * i) = q;
    }
    const Eigen::FullPivLU<Eigen::Matrix<double, 8, 8>> solver(left);
    if (!solver.isInvertible()) {
        return std::nullopt;
    }
    const Eigen::Matrix<double, 8, 1> h = solver.solve(right);
    return (Homography() << h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], 1.0).finished();
}

/// Projects corners into the image; empty when a corner lies on or beyond the horizon of the plane.
Corners projected(const Homography& imageFromPanel, const Corners& corners) {
    Corners result;
    for (const Eigen::Vector2d& corner : corners) {
        const Eigen::Vector3d point = imageFromPanel * corner.homogeneous();
        if (!(point.z() > 0.0)) {
            return {};
        }
        result.push_back(point.hnormalized());
    }
    return result;
}

/// The surface is grey, of about half the reflectance of the code's white paper. What is darker
/// than this share of the white is the frame or the ground, however even it is.
constexpr double kDimmestShare = 0.2;

/// The frame has at most a quarter of the surface's light on the panels that were measured, in near
/// infrared; even ground beside it is as bright as it is.
constexpr double kBrightestFrame = 0.5;

/// The brightest tenth of a code is paper.
double whiteOf(const Corners& code, const BandMatrix& band) {
    constexpr double kPaper = 0.9;
    return static_cast<double>(
        rangeOf(image::blockOf(image::boundsOf(outline(code)), band), {0.0, kPaper}).high);
}

/// The darkest of the places along a line, each averaged with its neighbours; infinity when no
/// place is inside the image.
double darkestAlong(const Corners& line, const BandMatrix& band) {
    double darkest = std::numeric_limits<double>::infinity();
    for (const Eigen::Vector2d& place : line) {
        const auto column = static_cast<Eigen::Index>(std::lround(place.x()));
        const auto row = static_cast<Eigen::Index>(std::lround(place.y()));
        if (column >= 1 && row >= 1 && column + 1 < band.cols() && row + 1 < band.rows()) {
            const float mean = band.block<3, 3>(row - 1, column - 1).mean();
            darkest = std::min(darkest, static_cast<double>(mean));
        }
    }
    return darkest;
}

/// Whether it is darker beside the surface, on both sides or on the one that the image shows.
bool isFramed(const PanelSquare& square, const BandMatrix& band, double darkest) {
    const double left = darkestAlong(square.beside[0], band);
    const double right = darkestAlong(square.beside[1], band);
    return (left < darkest || right < darkest) && (left < darkest || !std::isfinite(left)) &&
           (right < darkest || !std::isfinite(right));
}

} // namespace

PanelGeometry panelGeometry(int version) {
    if (version < 3) {
        return {42.0, 76.2, {-143.2, 0.0}, false};
    }
    if (version < 6) {
        return {45.0, 50.0, {-145.8, 0.0}, version >= 4};
    }
    // The surface was printed in two sizes: 70.5 to 162 mm below the code's centre, and 78 to 183.
    // This square lies on both.
    return {41.0, 41.0, {0.0, -114.0}};
}

std::vector<PanelSquare> panelSquares(const PanelGeometry& geometry, const Corners& code) {
    const std::optional<Homography> imageFromPanel =
        homography(squareAround(Eigen::Vector2d::Zero(), geometry.codeHalfSide), code);
    if (!imageFromPanel) {
        return {};
    }
    const double halfSide = 0.5 * geometry.squareSide;
    std::vector<PanelSquare> squares(geometry.isUpright ? 1 : 4);
    Eigen::Vector2d centre = geometry.squareCentre;
    for (PanelSquare& square : squares) {
        square.whole = projected(*imageFromPanel, squareAround(centre, halfSide));
        square.inner = projected(*imageFromPanel, squareAround(centre, kInnerShare * halfSide));
        const Eigen::Vector2d aTurnOn(-centre.y(), centre.x());
        const Eigen::Vector2d side = 2.0 * geometry.codeHalfSide * aTurnOn.normalized();
        square.beside = {projected(*imageFromPanel, lineFrom(centre, side)),
                         projected(*imageFromPanel, lineFrom(centre, -side))};
        centre = aTurnOn;
    }
    const auto isBeyond = [](const PanelSquare& square) { return square.whole.empty(); };
    squares.erase(std::remove_if(squares.begin(), squares.end(), isBeyond), squares.end());
    return squares;
}

image::Ring surfaceRegion(const PanelGeometry& geometry,
                          const Corners& code,
                          const BandMatrix& band,
                          double dark) {
    const double white = whiteOf(code, band);
    image::Ring chosen;
    double least = std::numeric_limits<double>::infinity();
    for (const PanelSquare& square : panelSquares(geometry, code)) {
        if (!isInside(square.whole, band)) {
            continue;
        }
        image::Ring region = outline(square.inner);
        if (region.empty()) {
            continue;
        }
        const image::Box box = image::boundsOf(region);
        const image::RegionStats stats =
            image::statsForRegion(image::blockOf(box, band), box, region);
        const double light = stats.mean - dark;
        if (stats.validCount < 2 || !(light > kDimmestShare * (white - dark)) ||
            !isFramed(square, band, dark + kBrightestFrame * light)) {
            continue;
        }
        if (const double spread = stats.stdDev / light; spread < least) {
            least = spread;
            chosen = std::move(region);
        }
    }
    return chosen;
}

} // namespace tessik::target
