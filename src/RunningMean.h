#pragma once

#include <Eigen/Core>

#include <limits>

namespace tessik::radiometry {

/// Running mean in storage order; NaN for an empty block.
template <typename Block>
float runningMean(const Block& values) {
    float mean = values.size() == 0 ? std::numeric_limits<float>::quiet_NaN() : 0.0F;
    float count = 0.0F;
    for (Eigen::Index r = 0; r < values.rows(); ++r) {
        for (Eigen::Index c = 0; c < values.cols(); ++c) {
            count += 1.0F;
            mean += (values(r, c) - mean) / count;
        }
    }
    return mean;
}

} // namespace tessik::radiometry
