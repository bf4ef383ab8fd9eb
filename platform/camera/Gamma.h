#pragma once

#include <cmath>
#include <cstddef>
#include <ostream>
#include <utility>
#include <vector>

namespace tessik {

/// Tone curve of one band: linear = alpha * x^gamma + beta, x the stored value scaled to 0..1.
struct gamma_t {
    double alpha = 1.0;
    double gamma = 1.0;
    double beta = 0.0;

    [[nodiscard]] double transform(double x) const { return alpha * std::pow(x, gamma) + beta; }
};

/// "alpha * x^gamma + beta", as numbers.
inline std::ostream& operator<<(std::ostream& os, const gamma_t& g) {
    return os << g.alpha << " * x^" << g.gamma << " + " << g.beta;
}

/// A table of Values for Index 0 .. size - 1.
template <typename Index, typename Value>
class LUT {
public:
    LUT() = default;
    explicit LUT(std::vector<Value> values) : m_values(std::move(values)) {}

    /// @param index below size(); not checked
    [[nodiscard]] Value operator[](Index index) const {
        return m_values[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] std::size_t size() const { return m_values.size(); }

private:
    std::vector<Value> m_values;
};

} // namespace tessik
