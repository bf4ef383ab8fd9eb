#pragma once

/// @file
/// Raw values of a band as levels: in 8 bits, to be looked at by people and decoders, and in 16
/// bits, for searches that look at every pixel.

#include "platform/image/BandMatrix.h"
#include "platform/image/Png.h"

#include <Eigen/Core>

#include <cstdint>

namespace tessik::target {

using Bytes = image::ByteMatrix;
/// Rows x columns.
using Samples = Eigen::Matrix<std::uint16_t, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// Shares of the pixels, 0..1.
struct Percentiles {
    double low = 0.0;
    double high = 1.0;
};

struct Range {
    float low = 0.0F;
    float high = 0.0F;
};

/// The values below which these shares of the finite pixels lie; of a band without any, 0 and 0.
Range rangeOf(const BandMatrix& band, const Percentiles& percentiles);

/// 0 at and below the range, 255 at and above it, linear between; 0 where a value is not finite.
Bytes stretched(const BandMatrix& band, const Range& range);

/// From the least value of the band to the largest; empty when all are the same, or none is finite.
Samples samplesOf(const BandMatrix& band);

/// The mean of each square of four; an odd last row or column is left out.
Samples halved(const Samples& samples);

/// The value between pixels, bilinear; outside the image it is that of its edge. The image has two
/// pixels at least each way.
float valueAt(const Samples& samples, const Eigen::Vector2d& place);

} // namespace tessik::target
