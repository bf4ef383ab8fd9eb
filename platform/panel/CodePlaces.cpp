#include "platform/panel/CodePlaces.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <optional>

namespace tessik::target {
namespace {

constexpr double kMarkModules = 7.0;
/// Modules from one mark's centre to the next: there are 14 in the smallest code, 50 in one of 271
/// bytes. The width of a module is known only roughly.
constexpr double kMinBetween = 10.0;
constexpr double kMaxBetween = 60.0;

/// A panel may be photographed from the side.
constexpr double kMaxSideRatio = 2.5;
constexpr double kMaxCosine = 0.7;

/// A row crosses a mark that is turned along a longer way.
double moduleOf(const FinderMark& mark, const Eigen::Vector2d& direction) {
    return mark.across / kMarkModules * direction.normalized().cwiseAbs().maxCoeff();
}

/// @return nothing when the three do not lie as the marks of a code
std::optional<CodePlace>
placeOf(const FinderMark& corner, const FinderMark& right, const FinderMark& below) {
    const Eigen::Vector2d x = right.centre - corner.centre;
    const Eigen::Vector2d y = below.centre - corner.centre;
    const double lengthX = x.norm();
    const double lengthY = y.norm();
    const double lengths = std::abs(std::log(lengthX / lengthY));
    const double cosine = std::abs(x.dot(y)) / (lengthX * lengthY);
    const auto [least, most] = std::minmax({corner.across, right.across, below.across});
    const double widths = std::log(most / least);
    if (x.x() * y.y() - x.y() * y.x() <= 0.0 || lengths > std::log(kMaxSideRatio) ||
        widths > std::log(kMaxSideRatio) || cosine > kMaxCosine) {
        return std::nullopt;
    }
    const double betweenX = 2.0 * lengthX / (moduleOf(corner, x) + moduleOf(right, x));
    const double betweenY = 2.0 * lengthY / (moduleOf(corner, y) + moduleOf(below, y));
    const double between = 0.5 * (betweenX + betweenY);
    if (!(between >= kMinBetween && between <= kMaxBetween)) {
        return std::nullopt;
    }
    CodePlace place;
    place.modules = between + kMarkModules;
    place.pxFromModules << x / between, y / between;
    place.origin = corner.centre - place.pxFromModules * Eigen::Vector2d::Constant(3.5);
    place.dark = (corner.dark + right.dark + below.dark) / 3.0;
    place.light = (corner.light + right.light + below.light) / 3.0;
    place.oddness = lengths + cosine + widths;
    return place;
}

} // namespace

std::vector<CodePlace> codePlaces(const std::vector<FinderMark>& marks) {
    std::vector<CodePlace> places;
    for (const FinderMark& corner : marks) {
        for (const FinderMark& right : marks) {
            for (const FinderMark& below : marks) {
                if (&corner == &right || &right == &below || &corner == &below) {
                    continue;
                }
                if (std::optional<CodePlace> place = placeOf(corner, right, below)) {
                    places.push_back(*place);
                }
            }
        }
    }
    return places;
}

} // namespace tessik::target
