#pragma once

#include <cstddef>

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

} // namespace tessik::radiometry::corrector::loops
