#pragma once

#include "platform/export.h"
#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

namespace tessik::math {

/// A matrix whose rows lie one after another, as those of an image.
using RowMatrixXd = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// Enlarges a matrix by an integer factor: the corners of the output lie on the corners of the
/// input, values between samples come from bicubic convolution (a = -0.5, Catmull-Rom) over the 4 x
/// 4 neighbourhood, clamped at the borders. Output rows are computed in parallel (OpenMP); the
/// result does not depend on the number of threads.
///
/// Source: R. G. Keys, Cubic convolution interpolation for digital image processing, IEEE Trans.
/// Acoustics, Speech, and Signal Processing 29(6), 1981, eq. 15.
///
/// @param input rows x cols, at least 2 x 2
/// @param factor > 0
/// @return (factor * rows) x (factor * cols)
/// @throws std::runtime_error "[file:line] ..." when the input or the factor is refused
TESSIK_PLATFORM_EXPORT BandMatrix zoom(const RowMatrixXd& input, int factor);

} // namespace tessik::math
