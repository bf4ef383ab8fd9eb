// Normal numbers: G. E. P. Box and M. E. Muller, A note on the generation of random normal
// deviates, Annals of Mathematical Statistics 29 (1958). The C library's logarithm and sine differ
// in the last digit from machine to machine, hence the series.
#include "simulate/Random.h"

#include <cmath>
#include <cstring>

namespace tessik::simulate {
namespace {

/// Natural logarithm of a normal positive number; relative error below 1e-6.
/// ln(m 2^e) = e ln 2 + 2 artanh f with f = (m - 1) / (m + 1), m in [sqrt(1/2), sqrt(2)).
float logarithm(float value) {
    constexpr std::int32_t kSqrtHalf = 0x3f3504f3;
    constexpr float kLn2 = 0.693147181F;
    std::int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const std::int32_t exponent = (bits - kSqrtHalf) >> 23;
    bits -= exponent * (1 << 23);
    float m = 0.0F;
    std::memcpy(&m, &bits, sizeof m);
    const float f = (m - 1.0F) / (m + 1.0F);
    const float s = f * f;
    // The first term left out, s^5 / 11, is below 2e-9.
    const float series =
        1.0F + s * (1.0F / 3.0F + s * (1.0F / 5.0F + s * (1.0F / 7.0F + s * (1.0F / 9.0F))));
    return static_cast<float>(exponent) * kLn2 + 2.0F * f * series;
}

struct Pair {
    float first;
    float second;
};

/// Two normal numbers from two of 24 random bits each.
Pair boxMuller(std::uint64_t random) {
    constexpr float kStep = 0x1p-24F;
    const auto a = static_cast<std::int32_t>((random >> 40U) & 0xffffffU);
    const auto b = static_cast<std::int32_t>(random & 0xffffffU);
    const float radius = std::sqrt(-2.0F * logarithm((static_cast<float>(a) + 0.5F) * kStep));
    // The angle: a quadrant from two bits, and x in -pi/4 .. pi/4 from the others.
    constexpr float kHalfPi = 1.57079633F;
    const float x = (static_cast<float>(b & 0x3fffff) * 0x1p-22F - 0.5F) * kHalfPi;
    const float s = x * x;
    const float sine =
        x * (1.0F - s / 6.0F * (1.0F - s / 20.0F * (1.0F - s / 42.0F * (1.0F - s / 72.0F))));
    const float cosine =
        1.0F - s / 2.0F * (1.0F - s / 12.0F * (1.0F - s / 30.0F * (1.0F - s / 56.0F)));
    const bool isSwapped = (b & 0x400000) != 0;
    const float sign = (b & 0x800000) != 0 ? -radius : radius;
    // Turned by 0, 90, 180 or 270 degrees.
    return {sign * (isSwapped ? -sine : cosine), sign * (isSwapped ? cosine : sine)};
}

} // namespace

/// Source: G. L. Steele, D. Lea and C. H. Flood, Fast splittable pseudorandom number generators,
/// OOPSLA 2014 (the finaliser of SplitMix).
std::uint64_t mixed(std::initializer_list<std::uint64_t> parts) {
    std::uint64_t state = 0;
    for (const std::uint64_t part : parts) {
        state = (state ^ part) + 0x9e3779b97f4a7c15U;
        state = (state ^ (state >> 30U)) * 0xbf58476d1ce4e5b9U;
        state = (state ^ (state >> 27U)) * 0x94d049bb133111ebU;
        state ^= state >> 31U;
    }
    return state;
}

double Random::uniform(double low, double high) {
    return low + (high - low) * (static_cast<double>(m_engine() >> 11U) * 0x1p-53);
}

std::uint32_t Random::below(std::uint32_t count) {
    return static_cast<std::uint32_t>(uniform(0.0, static_cast<double>(count)));
}

void Random::normal(std::vector<float>& values) {
    std::size_t i = 0;
    for (; i + 1 < values.size(); i += 2) {
        const Pair pair = boxMuller(m_engine());
        values[i] = pair.first;
        values[i + 1] = pair.second;
    }
    if (i < values.size()) {
        values[i] = boxMuller(m_engine()).first;
    }
}

} // namespace tessik::simulate
