#pragma once

#include "corrector/PixelLoops.h"
#include "radiometry/core/Account.h"
#include "radiometry/core/Types.h"
#include "radiometry/corrector/detail/Step.h"

#include <functional>
#include <vector>

namespace tessik::radiometry::corrector {

/// One row of one band, in place.
struct Row {
    std::size_t band;
    Eigen::Index index; ///< in the block
    float* pixels;
    std::size_t size;
};

/// What a step has to do to the rows of an image, once everything that can fail is checked.
struct RowWork {
    /// Called once for each row of each band; the rows of a band come in order. Empty = nothing is
    /// to be done.
    std::function<void(const Row&)> kernel;
    /// Called after the last row, with where what it came to is added; null = nobody asks. May be
    /// empty.
    std::function<void(Account*)> finish;
};

/// Runs the kernels of several works as if each did all of its rows before the next one begins.
void runKernels(const std::vector<RowWork>& works, BandImage& bands);

/// Multiplies each band by its factor.
inline RowWork scaling(const Eigen::ArrayXf& factors) {
    return {[factors](const Row& row) {
                loops::multiply(row.pixels, row.size, factors(static_cast<Eigen::Index>(row.band)));
            },
            {}};
}

} // namespace tessik::radiometry::corrector
