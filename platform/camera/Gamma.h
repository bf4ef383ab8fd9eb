#pragma once

#include <cmath>
#include <ostream>

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

} // namespace tessik
