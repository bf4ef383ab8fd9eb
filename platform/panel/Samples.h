#pragma once

#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <cstdint>

/// Raw values in 16 bits, for searches that look at every pixel.
namespace tessik::target {

/// Rows x columns.
using Samples = Eigen::Matrix<std::uint16_t, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// From the least value of the band to the largest; empty when all are the same, or none is finite.
Samples samplesOf(const BandMatrix& band);

/// The mean of each square of four; an odd last row or column is left out.
Samples halved(const Samples& samples);

/// Between pixels, bilinear; outside the image as at its edge, of two pixels at least each way.
float valueAt(const Samples& samples, const Eigen::Vector2d& place);

} // namespace tessik::target
