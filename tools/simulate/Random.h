#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

namespace tessik::simulate {

/// Makes one number from several, well mixed: neighbouring inputs give unrelated results.
std::uint64_t mixed(std::initializer_list<std::uint64_t> parts);

/// Random numbers that are the same on every machine: the generator is defined by the language's
/// standard, and everything derived from it here uses only operations that IEEE 754 rounds exactly.
class Random {
public:
    /// @param key what the sequence belongs to: seed, purpose, capture, band, ...
    Random(std::initializer_list<std::uint64_t> key) : m_engine(mixed(key)) {}

    /// In [low, high).
    double uniform(double low, double high);
    /// In 0 .. count - 1.
    std::uint32_t below(std::uint32_t count);
    /// Fills with independent numbers of mean 0 and standard deviation 1, cut off at 5.9.
    void normal(std::vector<float>& values);

private:
    std::mt19937_64 m_engine;
};

} // namespace tessik::simulate
