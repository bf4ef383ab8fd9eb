#pragma once

#include <Eigen/Core>

#include <vector>

namespace tessik {

/// One band of an image, or one block of it: rows x columns of 32-bit floats, row after row.
using BandMatrix = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// One BandMatrix a band, in the band order of the metadata, all of one size.
using BandImage = std::vector<BandMatrix>;

} // namespace tessik
