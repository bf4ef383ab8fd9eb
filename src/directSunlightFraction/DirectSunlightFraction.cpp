#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include "core/Fail.h"
#include "directSunlightFraction/Readings.h"
#include "platform/log/Log.h"
#include "platform/optimization/EMProblem.h"

#include <ceres/dynamic_autodiff_cost_function.h>
#include <ceres/manifold.h>
#include <ceres/problem.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace tessik::radiometry::detail {
namespace {

constexpr double kStartFraction = 6.0 / 7.0;
constexpr int kMaxIterations = 25;
constexpr int kDerivativesAtATime = 4;

/// The units of the fit: readings over their mean, times from -1 to 1. With seconds, the columns of
/// the Jacobian differ by the duration to the power of the degree, and rank cannot be told from
/// rounding; with the readings' own unit, the solver's absolute tolerances would depend on it.
struct Units {
    double irradiance; ///< in the readings' unit
    double middle;     ///< s
    double halfSpan;   ///< s
};

template <typename Visit>
void forEach(Readings& readings, const Visit& visit) {
    std::for_each(readings.posed.begin(), readings.posed.end(), visit);
    std::for_each(readings.mounted.begin(), readings.mounted.end(), visit);
}

bool isFinite(const SunlightResidual& reading) {
    return std::isfinite(reading.time) && std::isfinite(reading.irradiance) &&
           std::isfinite(reading.cosIncidence) && std::isfinite(reading.cosTilt);
}

bool isFinite(const SunlightAngleResidual& reading) {
    return std::isfinite(reading.time) && std::isfinite(reading.irradiance) &&
           reading.sunRay.allFinite() && reading.up.allFinite() &&
           reading.cameraRotation.allFinite();
}

Units unitsOf(Readings& readings) {
    double mean = 0.0;
    double count = 0.0;
    double first = std::numeric_limits<double>::max();
    double last = std::numeric_limits<double>::lowest();
    forEach(readings, [&](const auto& reading) {
        count += 1.0;
        mean += (reading.irradiance - mean) / count;
        first = std::min(first, reading.time);
        last = std::max(last, reading.time);
    });
    const double halfSpan = (last - first) / 2.0;
    return {mean, first + halfSpan, halfSpan > 0.0 ? halfSpan : 1.0};
}

/// Turns coefficients of the fit's units into coefficients of seconds and the readings' unit. Its
/// column k holds the polynomial ((t - middle) / halfSpan)^k, written out.
Eigen::MatrixXd toSeconds(const Units& units, Eigen::Index size) {
    Eigen::MatrixXd result = Eigen::MatrixXd::Zero(size, size);
    result(0, 0) = units.irradiance;
    for (Eigen::Index k = 1; k < size; ++k) {
        result.col(k) = -units.middle * result.col(k - 1);
        result.col(k).tail(size - 1) += result.col(k - 1).head(size - 1);
        result.col(k) /= units.halfSpan;
    }
    return result;
}

template <typename Functor>
ceres::CostFunction* costFunction(const Functor& reading, std::initializer_list<int> blockSizes) {
    auto* cost = new ceres::DynamicAutoDiffCostFunction<Functor, kDerivativesAtATime>(
        new Functor(reading)); // owned by the cost function, and that by the problem
    for (const int size : blockSizes) {
        cost->AddParameterBlock(size);
    }
    cost->SetNumResiduals(1);
    return cost;
}

/// The parameter blocks of one band.
struct Parameters {
    double fraction = kStartFraction;
    Eigen::VectorXd coefficients;
    Eigen::Vector3d orientation =
        Eigen::Vector3d::Constant(std::numeric_limits<double>::quiet_NaN());
};

void addReadings(ceres::Problem& problem, const Readings& readings, Parameters& parameters) {
    const int size = static_cast<int>(parameters.coefficients.size());
    double* const fraction = &parameters.fraction;
    double* const coefficients = parameters.coefficients.data();
    for (const SunlightResidual& reading : readings.posed) {
        problem.AddResidualBlock(costFunction(reading, {1, size}), nullptr, fraction, coefficients);
    }
    double* const orientation = parameters.orientation.data();
    for (const SunlightAngleResidual& reading : readings.mounted) {
        problem.AddResidualBlock(
            costFunction(reading, {1, size, 3}), nullptr, fraction, coefficients, orientation);
    }
    if (!readings.mounted.empty()) {
        // The readings say nothing about kappa; left free, it would make the Jacobian singular.
        problem.SetManifold(orientation, new ceres::SubsetManifold(3, {2}));
    }
    problem.SetParameterLowerBound(fraction, 0, 0.0);
    problem.SetParameterUpperBound(fraction, 0, 1.0);
}

/// Covariances in the readings' unit, where there are any.
void setCovariance(SunlightFractionFitResult& result,
                   optimization::EMProblem& problem,
                   const Parameters& parameters,
                   const Eigen::MatrixXd& coefficientsToSeconds,
                   double irradianceUnit) {
    std::vector<const double*> blocks = {&parameters.fraction, parameters.coefficients.data()};
    if (result.orientation) {
        blocks.push_back(parameters.orientation.data());
    }
    const auto covariance = problem.covariance(blocks);
    if (!covariance) {
        TESSIK_LOG(logging::kWarning) << "Direct sunlight fraction covariance computation failed.";
        return;
    }
    // Residuals of variance one in the readings' unit have this variance in the fit's.
    const double variance = 1.0 / (irradianceUnit * irradianceUnit);
    result.fractionVariance = variance * (*covariance)[0](0, 0);
    result.coefficientCovariance =
        variance * coefficientsToSeconds * (*covariance)[1] * coefficientsToSeconds.transpose();
    if (result.orientation) {
        result.orientationCovariance = variance * (*covariance)[2];
    }
}

/// Fits by least squares over the readings, unweighted.
/// @throws error as computeDirectSunlightFractionForBand
SunlightFractionFitResult fit(Readings readings, unsigned int polynomialDegree) {
    const std::size_t count = readings.size();
    if (count < std::size_t{polynomialDegree} + 2) {
        fail("Not enough measurements");
    }
    forEach(readings, [](const auto& reading) {
        if (!isFinite(reading)) {
            fail("Fit of the direct sunlight fraction: a reading, time or pose is not a number");
        }
    });
    const Units units = unitsOf(readings);
    forEach(readings, [&](auto& reading) {
        reading.time = (reading.time - units.middle) / units.halfSpan;
        reading.irradiance /= units.irradiance;
    });

    Parameters parameters;
    parameters.coefficients = Eigen::VectorXd::Zero(Eigen::Index{polynomialDegree} + 1);
    parameters.coefficients[0] = 1.0; // the mean of the readings
    parameters.orientation = readings.orientation.value_or(parameters.orientation);
    optimization::EMProblem problem;
    addReadings(problem.problem(), readings, parameters);
    const optimization::Solution solution = problem.solve(kMaxIterations);
    if (!solution.isUsable) {
        fail("Fit of the direct sunlight fraction: ", solution.report);
    }

    SunlightFractionFitResult result;
    const Eigen::MatrixXd coefficientsToSeconds = toSeconds(units, parameters.coefficients.size());
    result.fraction = parameters.fraction;
    result.coefficients = coefficientsToSeconds * parameters.coefficients;
    result.readingCount = count;
    result.hasConverged = solution.hasConverged;
    std::size_t parameterCount = std::size_t{polynomialDegree} + 2;
    if (readings.orientation) {
        result.orientation = parameters.orientation;
        parameterCount += 2;
    }
    if (count > parameterCount) {
        result.residualVariance = 2.0 * solution.cost * units.irradiance * units.irradiance /
                                  static_cast<double>(count - parameterCount);
    }
    setCovariance(result, problem, parameters, coefficientsToSeconds, units.irradiance);
    return result;
}

} // namespace
} // namespace tessik::radiometry::detail

namespace tessik::radiometry {

SunlightFractionFitResult computeDirectSunlightFractionForBand(
    const BandIndexByCamera& bandIndexByCamera,
    const std::vector<InputImage>& images,
    const geo::OutCoordSystem& outCoordSystem,
    const geo::SiteCalibration& siteCalibration,
    const CameraById& cameraById,
    const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
    unsigned int polynomialDegree,
    bool useSensorAngles) {
    return detail::fit(detail::collectReadings(bandIndexByCamera,
                                               images,
                                               outCoordSystem,
                                               siteCalibration,
                                               cameraById,
                                               settingsByCamera,
                                               polynomialDegree,
                                               useSensorAngles),
                       polynomialDegree);
}

std::map<BandInfo, SunlightFractionFitResult>
computeDirectSunlightFraction(const std::vector<InputImage>& images,
                              const CamerasData& cameras,
                              const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
                              const geo::OutCoordSystem& outCoordSystem,
                              const geo::SiteCalibration& siteCalibration,
                              const CameraById& cameraById,
                              unsigned int polynomialDegree,
                              bool useSensorAngles) {
    std::map<BandInfo, SunlightFractionFitResult> results;
    for (const auto& [band, bandIndexByCamera] : groupByBand(cameras, settingsByCamera)) {
        try {
            results.emplace(band,
                            computeDirectSunlightFractionForBand(bandIndexByCamera,
                                                                 images,
                                                                 outCoordSystem,
                                                                 siteCalibration,
                                                                 cameraById,
                                                                 settingsByCamera,
                                                                 polynomialDegree,
                                                                 useSensorAngles));
        } catch (const error& failure) {
            TESSIK_LOG(logging::kWarning)
                << "Unable to estimate direct sunlight fraction for band {" << band
                << "}: " << failure.what();
            // Promised: docs/contract.md, all-or-nothing.
            return {};
        }
    }
    return results;
}

} // namespace tessik::radiometry
