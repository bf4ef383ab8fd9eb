#pragma once

#include "core/Fail.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry::corrector {

/// The block of a full-image map that belongs to a band's block.
/// @throws error when it does not lie in the map (a map smaller than the image, or a wrong offset)
inline void verifyInside(const BandMatrix& map,
                         const BandMatrix& band,
                         const Eigen::Vector2i& blockOffset,
                         const char* context) {
    const Eigen::Index row = blockOffset[1];
    const Eigen::Index col = blockOffset[0];
    if (row < 0 || col < 0 || row + band.rows() > map.rows() || col + band.cols() > map.cols()) {
        fail(context,
             ": block (",
             static_cast<qint64>(row),
             ",",
             static_cast<qint64>(col),
             ") of size (",
             static_cast<qint64>(band.rows()),
             ",",
             static_cast<qint64>(band.cols()),
             ") lies outside the map (",
             static_cast<qint64>(map.rows()),
             ",",
             static_cast<qint64>(map.cols()),
             ")");
    }
}

} // namespace tessik::radiometry::corrector
