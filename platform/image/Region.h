#pragma once

/// @file
/// Regions of an image: polygons of integer pixel positions (column, row), clockwise as the image
/// is looked at, closed. A pixel belongs to a region when its position is inside the polygon or on
/// its edge.

#include "platform/export.h"
#include "platform/image/BandMatrix.h"

#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/ring.hpp>

#include <cstdint>

namespace tessik::image {

/// Column and row of a pixel.
using Point = boost::geometry::model::d2::point_xy<int>;
/// A polygon; its last point is its first one again.
using Ring = boost::geometry::model::ring<Point>;
/// Both corners belong to it.
using Box = boost::geometry::model::box<Point>;

/// The smallest box around a region.
TESSIK_PLATFORM_EXPORT Box boundsOf(const Ring& region);

/// The pixels of a box that lies inside the image.
TESSIK_PLATFORM_EXPORT BandMatrix blockOf(const Box& box, const BandMatrix& band);

/// Statistics of the valid pixels of a region. A pixel is valid when it is finite and not no-data.
struct RegionStats {
    double mean = 0.0;
    double stdDev = 0.0; ///< of the sample, n - 1
    std::int64_t validCount = 0;
    std::int64_t pixelCount = 0; ///< all pixels of the region, valid or not
};

/// @param block the pixels of boundingRect, both its corners included
/// @param boundingRect where the block lies in the image
/// @param polygon the region, in positions of the image
TESSIK_PLATFORM_EXPORT RegionStats statsForRegion(const BandMatrix& block,
                                                  const Box& boundingRect,
                                                  const Ring& polygon);

} // namespace tessik::image
