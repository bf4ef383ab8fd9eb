#include "corrector/PixelLoops.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

// A chain with its maps at hand (`warm` of bench/ChainBenchmark.cpp) takes 3.0 passes over the band
// with the first of these, 3.8 with the second. A sanitizer is not ready yet when the loader asks
// which of the clones to take.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define RADIOMETRY_CLONES __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define RADIOMETRY_CLONES
#endif

namespace tessik::radiometry::corrector::loops {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

} // namespace

RADIOMETRY_CLONES void multiply(float* pixels, std::size_t size, float factor) {
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] *= factor;
    }
}

RADIOMETRY_CLONES void multiply(float* pixels, std::size_t size, const float* factors) {
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] *= factors[i];
    }
}

RADIOMETRY_CLONES void maskOutside(float* pixels, std::size_t size, float low, float high) {
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] = ((low < pixels[i]) & (pixels[i] < high)) ? pixels[i] : kNan;
    }
}

RADIOMETRY_CLONES void
maskOutside(float* pixels, std::size_t size, const float* dark, float low, float high) {
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] = ((low + dark[i] < pixels[i]) & (pixels[i] < high)) ? pixels[i] : kNan;
    }
}

RADIOMETRY_CLONES bool subtract(float* pixels, std::size_t size, const float* dark) {
    // Compilers vectorise integers that are or-ed, but not the minimum of floats that may be NaN.
    int isNegative = 0;
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] -= dark[i];
        isNegative |= static_cast<int>(pixels[i] < 0.0F);
    }
    return isNegative != 0;
}

RADIOMETRY_CLONES void replaceNan(float* pixels, std::size_t size, float replacement) {
    for (std::size_t i = 0; i < size; ++i) {
        pixels[i] = std::isnan(pixels[i]) ? replacement : pixels[i];
    }
}

Sums sumsWithout(const float* pixels, std::size_t size, float excluded) {
    // Values are summed in lanes: a single sum would wait for each addition.
    constexpr std::size_t kLanes = 4;
    constexpr std::size_t kStep = 4 * kLanes;
    using Values = float __attribute__((vector_size(kLanes * sizeof(float))));
    using Counts = std::int32_t __attribute__((vector_size(kLanes * sizeof(std::int32_t))));
    const Values zeros = {};
    std::array<Values, kStep / kLanes> sums = {};
    std::array<Counts, kStep / kLanes> hits = {};
    std::size_t at = 0;
    for (; at + kStep <= size; at += kStep) {
        for (std::size_t i = 0; i < sums.size(); ++i) {
            Values values;
            std::memcpy(&values, pixels + at + i * kLanes, sizeof(values));
            const Counts isHit = values == excluded; // all ones where it is
            sums[i] += isHit ? zeros : values;
            hits[i] -= isHit;
        }
    }
    const Values sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    const Counts count = (hits[0] + hits[1]) + (hits[2] + hits[3]);
    Sums total;
    total.count = static_cast<std::int64_t>(size);
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        total.sum += static_cast<double>(sum[lane]);
        total.excluded += count[lane];
    }
    for (; at < size; ++at) {
        const bool isHit = pixels[at] == excluded;
        total.sum += isHit ? 0.0 : static_cast<double>(pixels[at]);
        total.excluded += isHit ? 1 : 0;
    }
    return total;
}

} // namespace tessik::radiometry::corrector::loops
