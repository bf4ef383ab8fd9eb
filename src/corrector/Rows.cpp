#include "corrector/Rows.h"

#include <algorithm>

namespace tessik::radiometry::corrector {
namespace {

/// Samples of a band that all steps work on before the next ones: 8 KiB, so that those of a few
/// bands and their maps stay in the first cache. `warm` of bench/ChainBenchmark.cpp measures it.
constexpr Eigen::Index kTileSamples = 2048;

/// Runs one work on the rows [first, last) of all bands that have them.
void runTile(const RowWork& work, BandImage& bands, Eigen::Index first, Eigen::Index last) {
    for (std::size_t b = 0; b < bands.size(); ++b) {
        BandMatrix& band = bands[b];
        const auto size = static_cast<std::size_t>(band.cols());
        for (Eigen::Index r = first; r < std::min(last, band.rows()); ++r) {
            work.kernel({b, r, band.data() + r * band.cols(), size});
        }
    }
}

} // namespace

void runKernels(const std::vector<RowWork>& works, BandImage& bands) {
    Eigen::Index rows = 0;
    Eigen::Index cols = 1;
    for (const BandMatrix& band : bands) {
        rows = std::max(rows, band.rows());
        cols = std::max(cols, band.cols());
    }
    const Eigen::Index step = std::max<Eigen::Index>(1, kTileSamples / cols);
    for (Eigen::Index first = 0; first < rows; first += step) {
        for (const RowWork& work : works) {
            if (work.kernel) {
                runTile(work, bands, first, first + step);
            }
        }
    }
}

void verifyInside(const BandMatrix& map,
                  const BandMatrix& band,
                  const Eigen::Vector2i& blockOffset,
                  const char* context) {
    const Eigen::Index row = blockOffset[1];
    const Eigen::Index col = blockOffset[0];
    if (row < 0 || col < 0 || row + band.rows() > map.rows() || col + band.cols() > map.cols()) {
        fail(context,
             ": block " + pairText(row, col) + " of size " + pairText(band.rows(), band.cols()) +
                 " lies outside the map " + pairText(map.rows(), map.cols()));
    }
}

void Step::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    act(bands, blockOffset, nullptr);
}

void RowStep::act(BandImage& bands, const Eigen::Vector2i& blockOffset, Account* account) const {
    const RowWork work = prepare({bands, blockOffset, account});
    runKernels({work}, bands);
    if (work.finish) {
        work.finish(account);
    }
}

} // namespace tessik::radiometry::corrector
