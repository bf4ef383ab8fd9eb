#include "PixelLoops.h"

#include <cmath>
#include <limits>

// A sanitizer is not ready yet when the loader asks which of the clones to take.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define RADIOMETRY_CLONES __attribute__((target_clones("avx2", "default")))
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
    // An integer, or-ed: compilers vectorise that, but no minimum of floats that may be NaN.
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

} // namespace tessik::radiometry::corrector::loops
