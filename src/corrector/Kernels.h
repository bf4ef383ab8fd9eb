#pragma once

#include "Fail.h"
#include "PixelLoops.h"
#include "radiometry/Types.h"
#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

/// Multiplies a band by a factor, which is rounded to float first.
inline void scale(BandMatrix& band, double factor) {
    band *= static_cast<float>(factor);
}

/// Work by rows is for bands of one size. @throws error "Bands differ in size"
inline void verifyOneSize(const BandImage& bands) {
    for (const BandMatrix& band : bands) {
        if (band.rows() != bands.front().rows() || band.cols() != bands.front().cols()) {
            fail("Bands differ in size");
        }
    }
}

/// Calls work(row, its pixels, their number) for rows [first, last) of a band.
template <typename Work>
void forRows(BandMatrix& band, Eigen::Index first, Eigen::Index last, const Work& work) {
    for (Eigen::Index r = first; r < last; ++r) {
        work(r, band.data() + r * band.cols(), static_cast<std::size_t>(band.cols()));
    }
}

/// Multiplies each band by its factor.
inline RowWork scaling(const Eigen::ArrayXf& factors) {
    return {[factors](BandImage& bands, Eigen::Index first, Eigen::Index last) {
                for (std::size_t b = 0; b < bands.size(); ++b) {
                    const float factor = factors(static_cast<Eigen::Index>(b));
                    forRows(bands[b], first, last, [factor](auto, float* pixels, std::size_t size) {
                        loops::multiply(pixels, size, factor);
                    });
                }
            },
            {}};
}

/// The block of a full-image map that belongs to a band block.
/// @throws error when it does not lie in the map (a map smaller than the image, or a wrong offset)
inline auto blockOf(const BandMatrix& map,
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
    return map.block(row, col, band.rows(), band.cols());
}

} // namespace tessik::radiometry::corrector
