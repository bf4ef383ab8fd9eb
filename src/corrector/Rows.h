#pragma once

/// @file
/// What the steps of the library are written with: the rows of bands and of maps, and the account
/// of what a step did.

#include "core/Fail.h"
#include "corrector/PixelLoops.h"
#include "radiometry/corrector/detail/Step.h"

#include <functional>
#include <initializer_list>
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
    std::function<void(const Row&)> kernel = nullptr;
    /// Called after the last row, with the account to which the results are added; null = nobody
    /// asks. May be empty.
    std::function<void(Account*)> finish = nullptr;
};

/// Runs the kernels of several works as if each did all of its rows before the next one begins.
void runKernels(const std::vector<RowWork>& works, BandImage& bands);

/// Multiplies each band by its factor.
inline RowWork scaling(const Eigen::ArrayXf& factors) {
    return {[factors](const Row& row) {
        loops::multiply(row.pixels, row.size, factors(static_cast<Eigen::Index>(row.band)));
    }};
}

/// Verifies that a band's block lies in a map of the full image.
/// @throws error when it does not (a map smaller than the image, or a wrong offset)
void verifyInside(const BandMatrix& map,
                  const BandMatrix& band,
                  const Eigen::Vector2i& blockOffset,
                  const char* context);

/// The part of a full-image map that belongs to a row of the block.
inline const float*
rowOfMap(const BandMatrix& map, const Eigen::Vector2i& blockOffset, const Row& row) {
    return map.data() + (blockOffset[1] + row.index) * map.cols() + blockOffset[0];
}

/// Adds a value to an account, where somebody asks.
/// @param account null = nobody asks
/// @param numbers one a band, or one for all bands
inline void
tell(Account* account, const char* name, const char* unit, std::initializer_list<double> numbers) {
    if (account != nullptr) {
        account->values.push_back({name, unit, numbers});
    }
}
inline void
tell(Account* account, const char* name, const char* unit, const Eigen::ArrayXd& numbers) {
    if (account != nullptr) {
        account->values.push_back({name, unit, {numbers.begin(), numbers.end()}});
    }
}

} // namespace tessik::radiometry::corrector
