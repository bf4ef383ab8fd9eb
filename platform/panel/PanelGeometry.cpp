// The plane-to-plane projection through four points: Hartley and Zisserman, Multiple View Geometry
// in Computer Vision, 2nd edition, 2003, section 4.1, with the last element set to 1.
#include "platform/panel/PanelGeometry.h"

#include <Eigen/Geometry>
#include <Eigen/LU>

#include <algorithm>
#include <optional>

namespace tessik::target {
namespace {

/// Of the square's side: what the decoder's corners leave uncertain grows with the distance from
/// the code, and the edge of the surface must not enter.
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

/// Empty when a corner lies on or beyond the horizon of the plane.
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

} // namespace tessik::target
