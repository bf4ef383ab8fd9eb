#pragma once

#include <cstddef>
#include <cstdint>

/// The loops over pixels that lie one behind the other. Each is compiled for the processors there
/// are, and the one at hand is chosen when the library is loaded; the values do not depend on it.
namespace tessik::radiometry::corrector::loops {

void multiply(float* pixels, std::size_t size, float factor);
void multiply(float* pixels, std::size_t size, const float* factors);

/// NaN for what does not lie between low and high, both excluded.
void maskOutside(float* pixels, std::size_t size, float low, float high);
/// The same, between low + dark and high.
void maskOutside(float* pixels, std::size_t size, const float* dark, float low, float high);

/// @return whether a difference is negative; a NaN is not
bool subtract(float* pixels, std::size_t size, const float* dark);

void replaceNan(float* pixels, std::size_t size, float replacement);

/// Of some pixels.
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

/// Sums what is not this value. In float within the row: a mean needs no more.
Sums sumsWithout(const float* pixels, std::size_t size, float excluded);

} // namespace tessik::radiometry::corrector::loops
