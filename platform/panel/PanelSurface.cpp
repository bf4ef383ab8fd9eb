#include "platform/panel/PanelSurface.h"

#include "platform/panel/Stretch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tessik::target {
namespace {

/// The surface is grey, of about half the reflectance of the code's white paper. What is darker
/// than this share of the white is the frame or the ground, however even it is.
constexpr double kDimmestShare = 0.2;

/// The frame has at most a quarter of the surface's light on the panels that were measured, in
/// near infrared; even ground goes on as bright as it is.
constexpr double kBrightestFrame = 0.5;

/// The brightest tenth of a code is paper.
double whiteOf(const Corners& code, const BandMatrix& band) {
    constexpr double kPaper = 0.9;
    return static_cast<double>(rangeOf(blockOf(boundsOf(outline(code)), band), {0.0, kPaper}).high);
}

/// Of the places along a line, each with its neighbours; infinity when none is inside the image.
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

/// Whether it is darker on both sides, or on the one that the image shows.
bool isFramed(const PanelSquare& square, const BandMatrix& band, double darkest) {
    const double left = darkestAlong(square.beside[0], band);
    const double right = darkestAlong(square.beside[1], band);
    return (left < darkest || right < darkest) && (left < darkest || !std::isfinite(left)) &&
           (right < darkest || !std::isfinite(right));
}

} // namespace

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
        const image::Box box = boundsOf(region);
        const image::RegionStats stats = image::statsForRegion(blockOf(box, band), box, region);
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
