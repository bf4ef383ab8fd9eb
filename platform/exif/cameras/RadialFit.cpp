#include "platform/exif/cameras/RadialFit.h"

#include <Eigen/QR>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::exif {
namespace {

constexpr double kTolerance = 1e-5;
constexpr Eigen::Index kMaxDegree = 24;

double evaluate(const Eigen::VectorXd& coefficients, double x) {
    double sum = 0.0;
    for (Eigen::Index i = coefficients.size() - 1; i >= 0; --i) {
        sum = sum * x + coefficients(i);
    }
    return sum;
}

/// Column j holds the powers of s in the Chebyshev polynomial T_j(2 s - 1).
Eigen::MatrixXd powersOfShiftedChebyshev(Eigen::Index degree) {
    Eigen::MatrixXd powers = Eigen::MatrixXd::Zero(degree + 1, degree + 1);
    powers(0, 0) = 1.0;
    if (degree > 0) {
        powers(0, 1) = -1.0;
        powers(1, 1) = 2.0;
    }
    for (Eigen::Index j = 2; j <= degree; ++j) {
        powers.col(j) = -2.0 * powers.col(j - 1) - powers.col(j - 2);
        powers.col(j).tail(degree) += 4.0 * powers.col(j - 1).head(degree);
    }
    return powers;
}

/// Fits by least squares of p(s) c(s) - 1, the relative error, at Chebyshev nodes in 0..1.
/// @return coefficients of the powers of s
Eigen::VectorXd fit(const Eigen::VectorXd& correction, double maxRadius, Eigen::Index degree) {
    constexpr Eigen::Index kNodes = 4 * (kMaxDegree + 1);
    Eigen::MatrixXd system(kNodes, degree + 1);
    for (Eigen::Index i = 0; i < kNodes; ++i) {
        const double angle = M_PI * (static_cast<double>(i) + 0.5) / static_cast<double>(kNodes);
        const double c = evaluate(correction, 0.5 * (std::cos(angle) + 1.0) * maxRadius);
        for (Eigen::Index j = 0; j <= degree; ++j) {
            system(i, j) = c * std::cos(static_cast<double>(j) * angle);
        }
    }
    return powersOfShiftedChebyshev(degree) *
           system.householderQr().solve(Eigen::VectorXd::Ones(kNodes));
}

/// The largest relative error over the radii, as the coefficients will be used.
double largestError(const Eigen::VectorXd& correction,
                    const Eigen::VectorXd& brightness,
                    double maxRadius) {
    constexpr int kSteps = 4096;
    double largest = 0.0;
    for (int i = 0; i <= kSteps; ++i) {
        const double r = maxRadius * i / kSteps;
        const double c = evaluate(correction, r);
        const double error = std::abs(evaluate(brightness, r) * c - 1.0);
        if (!(c > 0.0) || !std::isfinite(error)) {
            return std::numeric_limits<double>::infinity();
        }
        largest = std::max(largest, error);
    }
    return largest;
}

} // namespace

std::optional<Eigen::VectorXd> brightnessFromCorrection(const Eigen::VectorXd& correction,
                                                        double maxRadius) {
    if (correction.size() == 0 || !correction.allFinite() || !(maxRadius > 0.0) ||
        !std::isfinite(maxRadius)) {
        return std::nullopt;
    }
    for (Eigen::Index degree = 0; degree <= kMaxDegree; ++degree) {
        Eigen::VectorXd brightness = fit(correction, maxRadius, degree);
        double scale = 1.0;
        for (double& coefficient : brightness) {
            coefficient *= scale;
            scale /= maxRadius;
        }
        if (largestError(correction, brightness, maxRadius) < kTolerance) {
            return brightness;
        }
    }
    return std::nullopt;
}

} // namespace tessik::exif
