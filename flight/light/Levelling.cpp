#include "flight/light/Levelling.h"

#include "flight/light/Smoothing.h"
#include "platform/math/Angle.h"
#include "platform/math/Quantile.h"

#include <ceres/autodiff_cost_function.h>
#include <ceres/loss_function.h>
#include <ceres/problem.h>
#include <ceres/solver.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace tessik::flight {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::array<std::size_t, 4> kLags = {1, 2, 4, 8};
constexpr double kLongestLag = 60.0; // s

/// Cosines of the sun's incidence on a sensor and of its tilt.
template <typename T>
struct Cosines {
    T incidence;
    T tilt;
};

template <typename T>
Cosines<T> cosinesOf(const SensorView& view, const T& forward, const T& right) {
    using Vector = Eigen::Matrix<T, 3, 1>;
    const Vector leaning =
        view.normal.cast<T>() + forward * view.forward.cast<T>() + right * view.right.cast<T>();
    const Vector normal = leaning / leaning.norm();
    return {normal.dot(view.sun.cast<T>()), normal.dot(view.up.cast<T>())};
}

/// See receivedShare.
template <typename T>
T received(const Cosines<T>& cosines, const T& direct) {
    const T incidence = cosines.incidence > T(0.0) ? cosines.incidence : T(0.0);
    const T sky =
        T(0.5) + (cosines.tilt >= T(0.0) ? T(0.5) : T(-0.5)) * cosines.tilt * cosines.tilt;
    return direct * incidence + (T(1.0) - direct) * sky;
}

/// What two captures tell of the mount: their levelled readings should be alike.
class MountResidual {
public:
    MountResidual(const SensorView& first, const SensorView& second, double difference, double d)
        : m_first(first), m_second(second), m_difference(difference), m_direct(d) {}

    template <typename T>
    bool operator()(const T* lean, const T* shift, T* residual) const {
        using std::log;
        const T direct = T(m_direct) + shift[0];
        const T first = levelled(m_first, lean, direct);
        const T second = levelled(m_second, lean, direct);
        residual[0] = T(m_difference) + log(second / first);
        return true;
    }

private:
    template <typename T>
    static T levelled(const SensorView& view, const T* lean, const T& direct) {
        const T level = direct * T(view.sun.dot(view.up)) + T(1.0) - direct;
        return level / received(cosinesOf(view, lean[0], lean[1]), direct);
    }

    const SensorView& m_first;
    const SensorView& m_second;
    double m_difference;
    double m_direct;
};

/// What is expected of parameters before anything is read.
template <int kCount>
class Expected {
public:
    explicit Expected(double deviation) : m_deviation(deviation) {}

    template <typename T>
    bool operator()(const T* values, T* residuals) const {
        for (int i = 0; i < kCount; ++i) {
            residuals[i] = values[i] / T(m_deviation);
        }
        return true;
    }

private:
    double m_deviation;
};

/// Calls work(i, j) for neighbouring moments, lag by lag.
template <typename Work>
void forEachPair(const std::vector<double>& times, std::size_t lag, const Work& work) {
    for (std::size_t i = 0; i + lag < times.size(); ++i) {
        if (times[i + lag] - times[i] <= kLongestLag) {
            work(i, i + lag);
        }
    }
}

/// One solution, from a start.
/// @param deviation of a difference, beyond which it counts less and less
MountFit solveMount(const std::vector<double>& times,
                    const std::vector<double>& logarithms,
                    const SensorViews& views,
                    double direct,
                    const std::vector<bool>& isSunlit,
                    double deviation,
                    const MountFit& start) {
    constexpr double kExpectedLean = 3.0 * kDegree;
    constexpr double kExpectedShift = 0.1;
    constexpr double kLargestFraction = 0.97;
    MountFit fit = start;
    std::array<double, 2> lean = {start.lean.forward, start.lean.right};
    ceres::Problem problem;
    std::size_t count = 0;
    // More pairs than these tell no more of three numbers.
    const std::size_t stride = 1 + times.size() / 4000;
    for (const std::size_t lag : kLags) {
        forEachPair(times, lag, [&](std::size_t i, std::size_t j) {
            const double difference = logarithms[j] - logarithms[i];
            if (i % stride != 0 || !views[i] || !views[j] || !isSunlit[i] || !isSunlit[j] ||
                !std::isfinite(difference)) {
                return;
            }
            // Each capture is in eight pairs, which tell little more than one.
            constexpr double kPairsPerCapture = 8.0;
            problem.AddResidualBlock(
                new ceres::AutoDiffCostFunction<MountResidual, 1, 2, 1>(
                    new MountResidual(*views[i], *views[j], difference, direct)),
                new ceres::ScaledLoss(new ceres::CauchyLoss(deviation),
                                      1.0 / (kPairsPerCapture * deviation * deviation),
                                      ceres::TAKE_OWNERSHIP),
                lean.data(),
                &fit.fractionShift);
            ++count;
        });
    }
    constexpr std::size_t kFewest = 40;
    if (count < kFewest) {
        return {};
    }
    problem.AddResidualBlock(
        new ceres::AutoDiffCostFunction<Expected<2>, 2, 2>(new Expected<2>(kExpectedLean)),
        nullptr,
        lean.data());
    problem.AddResidualBlock(
        new ceres::AutoDiffCostFunction<Expected<1>, 1, 1>(new Expected<1>(kExpectedShift)),
        nullptr,
        &fit.fractionShift);
    problem.SetParameterLowerBound(&fit.fractionShift, 0, -direct);
    problem.SetParameterUpperBound(&fit.fractionShift, 0, std::max(0.0, kLargestFraction - direct));
    ceres::Solver::Options options;
    options.logging_type = ceres::SILENT;
    ceres::Solver::Summary summary;
    ceres::Solve(options, &problem, &summary);
    constexpr double kLargestLean = 15.0 * kDegree;
    if (!summary.IsSolutionUsable() || std::hypot(lean[0], lean[1]) > kLargestLean) {
        return {};
    }
    fit.lean = {lean[0], lean[1]};
    return fit;
}

} // namespace

double receivedShare(const SensorView& view, const Lean& lean, double d) {
    return received(cosinesOf(view, lean.forward, lean.right), d);
}

double levelShare(const SensorView& view, double d) {
    return d * view.sun.dot(view.up) + 1.0 - d;
}

Eigen::ArrayXXd
levellingLogarithms(const SensorViews& views, const Eigen::ArrayXd& direct, const Lean& lean) {
    Eigen::ArrayXXd all =
        Eigen::ArrayXXd::Constant(static_cast<Eigen::Index>(views.size()), direct.size(), kNaN);
    for (std::size_t i = 0; i < views.size(); ++i) {
        for (Eigen::Index b = 0; views[i] && b < direct.size(); ++b) {
            all(static_cast<Eigen::Index>(i), b) = std::log(
                levelShare(*views[i], direct[b]) / receivedShare(*views[i], lean, direct[b]));
        }
    }
    return all;
}

std::vector<double> commonMode(const Eigen::ArrayXXd& logarithms) {
    Eigen::ArrayXd medians = Eigen::ArrayXd::Constant(logarithms.cols(), kNaN);
    for (Eigen::Index b = 0; b < logarithms.cols(); ++b) {
        std::vector<double> known;
        for (const double value : logarithms.col(b)) {
            if (std::isfinite(value)) {
                known.push_back(value);
            }
        }
        medians[b] = median(std::move(known));
    }
    std::vector<double> mode;
    mode.reserve(static_cast<std::size_t>(logarithms.rows()));
    for (Eigen::Index i = 0; i < logarithms.rows(); ++i) {
        double sum = 0.0;
        double count = 0.0;
        for (Eigen::Index b = 0; b < logarithms.cols(); ++b) {
            const double value = logarithms(i, b) - medians[b];
            if (std::isfinite(value)) {
                sum += value;
                count += 1.0;
            }
        }
        mode.push_back(count > 0.0 ? sum / count : kNaN);
    }
    return mode;
}

double unsteadiness(const std::vector<double>& times, const std::vector<double>& values) {
    constexpr std::size_t kFewest = 8;
    double sum = 0.0;
    double count = 0.0;
    for (const std::size_t lag : kLags) {
        std::vector<double> differences;
        forEachPair(times, lag, [&](std::size_t i, std::size_t j) {
            const double difference = std::abs(values[j] - values[i]);
            if (std::isfinite(difference)) {
                differences.push_back(difference);
            }
        });
        if (differences.size() >= kFewest) {
            sum += median(std::move(differences));
            count += 1.0;
        }
    }
    return count > 0.0 ? sum / count : kNaN;
}

MountFit fitMount(const std::vector<double>& times,
                  const std::vector<double>& logarithms,
                  const SensorViews& views,
                  double direct,
                  const std::vector<bool>& isSunlit) {
    constexpr double kLeastDeviation = 0.004; // nothing is read more exactly
    std::vector<double> levelled;
    for (std::size_t i = 0; i < times.size(); ++i) {
        levelled.push_back(views[i] ? logarithms[i] + std::log(levelShare(*views[i], direct) /
                                                               receivedShare(*views[i], {}, direct))
                                    : logarithms[i]);
    }
    const double jitter = jitterOf(times, levelled, kLongestLag);
    const double deviation = std::isfinite(jitter) ? std::max(kLeastDeviation, 1.5 * jitter) : 0.02;
    // What lies far off at first may come near.
    MountFit fit;
    for (const double width : {4.0 * deviation, deviation}) {
        fit = solveMount(times, logarithms, views, direct, isSunlit, width, fit);
    }
    return fit;
}

Eigen::ArrayXXd levelUnderClouds(const Eigen::ArrayXXd& logarithms,
                                 const SensorViews& views,
                                 const Lean& lean,
                                 const BrokenLight& light) {
    Eigen::ArrayXXd all = Eigen::ArrayXXd::Constant(logarithms.rows(), logarithms.cols(), kNaN);
    for (std::size_t i = 0; i < views.size(); ++i) {
        const auto row = static_cast<Eigen::Index>(i);
        if (!views[i]) {
            continue;
        }
        const SensorView& view = *views[i];
        const Cosines<double> cosines = cosinesOf(view, lean.forward, lean.right);
        const double sky = received(cosines, 0.0);
        for (Eigen::Index b = 0; b < logarithms.cols(); ++b) {
            const double d = light.direct[b];
            const double facing = std::exp(light.sunlit[b]) / levelShare(view, d);
            const double diffuse = (1.0 - d) * facing;
            const double reading = std::exp(logarithms(row, b));
            constexpr double kGrazing = 0.1; // the sensor tells nothing of the sun
            double level = reading * levelShare(view, d) / received(cosines, d);
            if (reading <= diffuse * sky) {
                level = reading / sky;
            } else if (cosines.incidence > kGrazing) {
                const double beam =
                    std::min((reading - diffuse * sky) / cosines.incidence, 1.3 * d * facing);
                // What is beyond a full sun is light from clouds.
                const double rest = reading - beam * cosines.incidence;
                level = beam * view.sun.dot(view.up) + rest / sky;
            }
            all(row, b) = std::log(level / reading);
        }
    }
    return all;
}

} // namespace tessik::flight
