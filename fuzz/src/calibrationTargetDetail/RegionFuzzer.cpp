#include "Input.h"
#include "flight/target/StatedTarget.h"
#include "platform/camera/CameraParams.h"
#include "platform/geo/CoordSystem.h"
#include "platform/image/Raster.h"
#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using namespace tessik;
using image::Point;

constexpr int kWidth = 11;
constexpr int kHeight = 7;

/// One band of distinct values, two of which are not valid.
BandMatrix band() {
    BandMatrix values(kHeight, kWidth);
    for (int r = 0; r < kHeight; ++r) {
        for (int c = 0; c < kWidth; ++c) {
            values(r, c) = static_cast<float>(100 * r + c);
        }
    }
    values(2, 3) = std::numeric_limits<float>::quiet_NaN();
    values(4, 5) = radiometry::kNoData;
    return values;
}

/// Twice the signed area of a triangle.
int area(const Point& a, const Point& b, const Point& c) {
    return (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
}

bool isOnEdge(const Point& p, const Point& from, const Point& to) {
    return area(from, to, p) == 0 && p.x() >= std::min(from.x(), to.x()) &&
           p.x() <= std::max(from.x(), to.x()) && p.y() >= std::min(from.y(), to.y()) &&
           p.y() <= std::max(from.y(), to.y());
}

/// Inside where a ray to the right leaves a closed polygon an odd number of times (M. Shimrat,
/// Algorithm 112, 1962). Exact: coordinates are small integers.
bool isCovered(const Point& p, const image::Ring& polygon) {
    bool isInside = false;
    for (std::size_t i = 1; i < polygon.size(); ++i) {
        const Point& from = polygon[i - 1];
        const Point& to = polygon[i];
        if (isOnEdge(p, from, to)) {
            return true;
        }
        if ((from.y() > p.y()) != (to.y() > p.y())) {
            isInside ^= (area(from, to, p) > 0) == (to.y() > from.y());
        }
    }
    return isInside;
}

void requireSame(const image::RegionStats& stats, const image::Ring& polygon) {
    static const BandMatrix values = band();
    std::vector<double> valid;
    std::int64_t pixelCount = 0;
    for (int r = 0; r < kHeight; ++r) {
        for (int c = 0; c < kWidth; ++c) {
            if (!isCovered(Point(c, r), polygon)) {
                continue;
            }
            ++pixelCount;
            if (values(r, c) >= 0.0F) {
                valid.push_back(static_cast<double>(values(r, c)));
            }
        }
    }
    fuzz::require(stats.pixelCount == pixelCount, "the pixels inside or on the edge count");
    fuzz::require(stats.validCount == static_cast<std::int64_t>(valid.size()),
                  "the valid ones of them count");
    double sum = 0.0;
    double squares = 0.0;
    for (const double value : valid) {
        sum += value;
    }
    const double count = static_cast<double>(valid.size());
    for (const double value : valid) {
        squares += (value - sum / count) * (value - sum / count);
    }
    constexpr double kRounding = 1e-9; // of values below 1000
    fuzz::require(valid.empty() || std::abs(stats.mean - sum / count) < kRounding, "a mean is one");
    fuzz::require(valid.size() < 2 ||
                      std::abs(stats.stdDev - std::sqrt(squares / (count - 1.0))) < kRounding,
                  "the deviation is that of a sample");
}

} // namespace

// The bytes are the corners of a region, as a user states them, of a small image.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::File file(".tif");
    static const bool isWritten = (image::writeFloatRaster(file.path(), {band()}), true);
    (void)isWritten;
    const image::Ring ring = flight::parseRegion(std::string(fuzz::textOf(data, size)));
    if (ring.empty()) {
        return 0;
    }
    radiometry::detail::CalibrationTargetReader reader(
        QString::fromStdString(file.path()), 0, ring, {}, {}, {}, {});
    std::vector<BandMatrix> bands;
    try {
        bands = reader.loadReflectImageBlock();
    } catch (const radiometry::error&) {
        return 0;
    }
    const image::Box box = reader.boundingRect();
    fuzz::require(bands.size() == 1 &&
                      bands[0].cols() == box.max_corner().x() - box.min_corner().x() + 1 &&
                      bands[0].rows() == box.max_corner().y() - box.min_corner().y() + 1,
                  "a block is as large as its region");
    requireSame(image::statsForRegion(bands[0], box, reader.polygon()), reader.polygon());
    return 0;
}
