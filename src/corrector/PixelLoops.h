#pragma once

/// @file
/// The loops over pixels that lie next to each other in memory. Each is compiled for the
/// processors there are, and the one at hand is chosen when the library is loaded; the values do
/// not depend on it.

#include <cstddef>
#include <cstdint>

namespace tessik::radiometry::corrector::loops {

void multiply(float* pixels, std::size_t size, float factor);
void multiply(float* pixels, std::size_t size, const float* factors);

/// Turns into NaN what does not lie between low and high, both excluded.
void maskOutside(float* pixels, std::size_t size, float low, float high);
/// Does the same between low + dark and high.
void maskOutside(float* pixels, std::size_t size, const float* dark, float low, float high);

/// @return whether a difference is negative; a NaN is not
bool subtract(float* pixels, std::size_t size, const float* dark);

void replaceNan(float* pixels, std::size_t size, float replacement);

/// What some pixels sum up to.
struct Sums {
    double sum = 0.0;
    std::int64_t count = 0;
    std::int64_t excluded = 0; ///< of them, not in the sum

    void add(const Sums& others) {
        sum += others.sum;
        count += others.count;
        excluded += others.excluded;
    }
};

/// Sums what is not this value. Within the row the sum is formed in float: a mean needs no more.
/// `told` of bench/ChainBenchmark.cpp measures it.
Sums sumsWithout(const float* pixels, std::size_t size, float excluded);

} // namespace tessik::radiometry::corrector::loops
