#pragma once

#include "platform/image/BandMatrix.h"

#include <cstdint>

/// From raw values to 8 bits, to be looked at by people and decoders.
namespace tessik::target {

using Bytes = Eigen::Matrix<std::uint8_t, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

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

} // namespace tessik::target
