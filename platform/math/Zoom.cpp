#include "platform/math/Zoom.h"

#include "platform/log/Log.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessik::math {
namespace {

[[noreturn]] void refuse(int line, const char* message) {
    throw std::runtime_error(std::string("[") + logging::baseName(__FILE__) + ":" +
                             std::to_string(line) + "] " + message);
}

/// Where an output sample lies between input samples: four clamped indices and their weights.
struct Tap {
    std::array<Eigen::Index, 4> index;
    std::array<double, 4> weight;
};

/// Keys' kernel with a = -0.5 at distances t + 1, t, 1 - t, 2 - t.
std::array<double, 4> cubicWeights(double t) {
    const double t2 = t * t;
    const double t3 = t2 * t;
    return {-0.5 * t3 + t2 - 0.5 * t,
            1.5 * t3 - 2.5 * t2 + 1.0,
            -1.5 * t3 + 2.0 * t2 + 0.5 * t,
            0.5 * t3 - 0.5 * t2};
}

std::vector<Tap> makeTaps(Eigen::Index inputSize, Eigen::Index outputSize, const char* outOfRange) {
    std::vector<Tap> taps(static_cast<std::size_t>(outputSize));
    const auto last = static_cast<double>(inputSize - 1);
    for (Eigen::Index i = 0; i < outputSize; ++i) {
        const double position = static_cast<double>(i) / static_cast<double>(outputSize - 1) * last;
        const double base = std::min(std::floor(position), last - 1.0);
        const double t = position - base;
        if (!(t >= 0.0 && t <= 1.0)) {
            refuse(__LINE__, outOfRange);
        }
        Tap& tap = taps[static_cast<std::size_t>(i)];
        tap.weight = cubicWeights(t);
        for (int k = 0; k < 4; ++k) {
            tap.index[static_cast<std::size_t>(k)] =
                std::clamp<Eigen::Index>(static_cast<Eigen::Index>(base) + k - 1, 0, inputSize - 1);
        }
    }
    return taps;
}

} // namespace

BandMatrix zoom(const RowMatrixXd& input, int factor) {
    if (factor <= 0) {
        refuse(__LINE__, "Zoom factor must be greater than zero");
    }
    if (input.rows() < 2 || input.cols() < 2) {
        refuse(__LINE__, "Input matrix must be at least 2x2");
    }
    const Eigen::Index rows = input.rows() * factor;
    const Eigen::Index cols = input.cols() * factor;
    const std::vector<Tap> columnTaps =
        makeTaps(input.cols(),
                 cols,
                 "column-wise coordinate of the extrapolated point must be within [0,1]");
    const std::vector<Tap> rowTaps = makeTaps(
        input.rows(), rows, "row-wise coordinate of the extrapolated point must be within [0,1]");

    // Along the columns first, for each input row once; then along the rows.
    RowMatrixXd widened(input.rows(), cols);
#pragma omp parallel for schedule(static) default(none) shared(input, cols, columnTaps, widened)
    for (Eigen::Index r = 0; r < input.rows(); ++r) {
        for (Eigen::Index c = 0; c < cols; ++c) {
            const Tap& tap = columnTaps[static_cast<std::size_t>(c)];
            widened(r, c) =
                tap.weight[0] * input(r, tap.index[0]) + tap.weight[1] * input(r, tap.index[1]) +
                tap.weight[2] * input(r, tap.index[2]) + tap.weight[3] * input(r, tap.index[3]);
        }
    }
    BandMatrix output(rows, cols);
#pragma omp parallel for schedule(static) default(none) shared(rows, rowTaps, widened, output)
    for (Eigen::Index r = 0; r < rows; ++r) {
        const Tap& tap = rowTaps[static_cast<std::size_t>(r)];
        output.row(r) =
            (tap.weight[0] * widened.row(tap.index[0]) + tap.weight[1] * widened.row(tap.index[1]) +
             tap.weight[2] * widened.row(tap.index[2]) + tap.weight[3] * widened.row(tap.index[3]))
                .cast<float>();
    }
    return output;
}

} // namespace tessik::math
