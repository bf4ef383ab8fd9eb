#include "directSunlightFraction/Residuals.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"
#include "support/Almanac.h"
#include "support/SunlitFlight.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <ceres/dynamic_autodiff_cost_function.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::radiometry {
namespace {

using test::FlightPlan;
using test::kNan;
using test::SunlitFlight;

FlightPlan withFraction(double fraction, double noise = 0.01) {
    FlightPlan plan;
    plan.fractions = {fraction};
    plan.noise = noise;
    return plan;
}

double standardError(double variance, const SunlightFractionFitResult& result) {
    return std::sqrt(variance * result.residualVariance.value());
}

TEST(SunlightFit, findsTheFractionOfEachBand) {
    for (const double duration : {1200.0, 3600.0}) {
        for (unsigned degree = 2; degree <= 3; ++degree) {
            FlightPlan plan;
            plan.duration = duration;
            plan.fractions = {0.2, 0.5, 0.86};
            const SunlitFlight flight(plan);
            for (std::uint64_t band = 0; band < plan.fractions.size(); ++band) {
                const auto result = flight.fit(band, degree);
                EXPECT_NEAR(result.fraction, plan.fractions[band], 0.01) << duration << degree;
                EXPECT_TRUE(result.hasConverged);
                EXPECT_TRUE(result.fractionVariance);
                EXPECT_EQ(result.readingCount, plan.captures);
            }
        }
    }
}

TEST(SunlightFit, doesNotDependOnTheUnitOfTheReadings) {
    SunlitFlight flight{FlightPlan()};
    const auto plain = flight.fit(0, 3);
    for (InputImage& image : flight.images) {
        image.exif.sunIrradiance[0] *= 1e-4;
    }
    const auto scaled = flight.fit(0, 3);
    EXPECT_NEAR(scaled.fraction, plain.fraction, 1e-9);
    EXPECT_NEAR(scaled.coefficients[0] / plain.coefficients[0], 1e-4, 1e-12);
    EXPECT_NEAR(standardError(scaled.fractionVariance.value(), scaled),
                standardError(plain.fractionVariance.value(), plain),
                1e-9);
}

TEST(SunlightFit, statesTheDriftInSecondsFromTheFirstImage) {
    // The sun of the simulation is without refraction, hence the tolerance.
    FlightPlan plan = withFraction(0.5, 0.0);
    plan.duration = 3600.0;
    const SunlitFlight flight(plan);
    const auto result = flight.fit(0, 2);
    ASSERT_EQ(result.coefficients.size(), 3);
    for (Eigen::Index i = 0; i < 3; ++i) {
        const double power = std::pow(plan.duration, static_cast<double>(i));
        EXPECT_NEAR(result.coefficients[i] * power, plan.drift[static_cast<std::size_t>(i)], 2e-3)
            << i;
    }
}

TEST(SunlightFit, itsErrorsAreAsLargeAsItsStandardErrorsSay) {
    constexpr int kFlights = 100;
    Eigen::Array3d squares = Eigen::Array3d::Zero(); // fraction, c0, c1
    for (int i = 0; i < kFlights; ++i) {
        FlightPlan plan = withFraction(0.5);
        plan.captures = 100;
        plan.drift = {1.2, 0.1};
        plan.seed = static_cast<unsigned>(i) + 10;
        const auto result = SunlitFlight(plan).fit(0, 1);
        const Eigen::MatrixXd& covariance = *result.coefficientCovariance;
        const Eigen::Array3d errors(result.fraction - 0.5,
                                    result.coefficients[0] - 1.2,
                                    result.coefficients[1] - 0.1 / plan.duration);
        const Eigen::Array3d expected(standardError(*result.fractionVariance, result),
                                      standardError(covariance(0, 0), result),
                                      standardError(covariance(1, 1), result));
        squares += (errors / expected).square();
    }
    // The standard deviation of 100 draws scatters by 7 %.
    for (const double square : squares) {
        EXPECT_GT(std::sqrt(square / kFlights), 0.8);
        EXPECT_LT(std::sqrt(square / kFlights), 1.25);
    }
}

TEST(SunlightFit, staysBetweenNothingAndAll) {
    struct BoundCase {
        double truth, expected, tolerance;
    };
    for (const BoundCase& c : {BoundCase{0.0, 0.0, 2e-3},
                               BoundCase{1.0, 1.0, 2e-3},
                               BoundCase{-0.1, 0.0, 0.0},
                               BoundCase{1.1, 1.0, 0.0}}) {
        const auto result = SunlitFlight(withFraction(c.truth, 0.0)).fit(0, 2);
        EXPECT_NEAR(result.fraction, c.expected, c.tolerance) << c.truth;
        EXPECT_GE(result.fraction, 0.0);
        EXPECT_LE(result.fraction, 1.0);
    }
}

TEST(SunlightFit, aSensorThatNeverTurnsLeavesTheFractionOpen) {
    FlightPlan plan;
    plan.staysAsItIs = true;
    const SunlitFlight flight(plan);
    const test::LogCapture log;
    const auto result = flight.fit(0, 0);
    EXPECT_EQ(log.count(6, "Direct sunlight fraction covariance computation failed."), 1);
    EXPECT_FALSE(result.fractionVariance);
    EXPECT_FALSE(result.coefficientCovariance);
    EXPECT_GE(result.fraction, 0.0);
    EXPECT_LE(result.fraction, 1.0);
}

TEST(SunlightFit, needsTwoReadingsMoreThanTheDegree) {
    for (const unsigned degree : {0U, 2U}) {
        FlightPlan plan;
        plan.captures = degree + 2;
        SunlitFlight flight(plan);
        const test::LogCapture log; // two readings of nearly one attitude may say too little
        const auto result = flight.fit(0, degree);
        EXPECT_EQ(result.readingCount, degree + 2);
        EXPECT_FALSE(result.residualVariance);
        flight.images.pop_back();
        EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, degree); }),
                  "Not enough measurements");
        flight.images.clear();
        EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, degree); }),
                  "Not enough measurements");
    }
}

struct OutCase {
    const char* what;
    void (*change)(SunlitFlight& flight, InputImage& image);
    /// The error of a fit of the sensor's mounting; null = it leaves the reading out.
    const char* mountedError = nullptr;
};

const OutCase kOut[] = {
    {"zero", [](SunlitFlight&, InputImage& i) { i.exif.sunIrradiance[1] = 0.0; }},
    {"negative", [](SunlitFlight&, InputImage& i) { i.exif.sunIrradiance[1] = -2.0; }},
    {"none", [](SunlitFlight&, InputImage& i) { i.exif.sunIrradiance.clear(); }},
    {"too many", [](SunlitFlight&, InputImage& i) { i.exif.sunIrradiance.push_back(9.0); }},
    {"a band unknown",
     [](SunlitFlight&, InputImage& i) {
         i.exif.bands = {{500, 20}};
     }},
    {"of another camera", [](SunlitFlight&, InputImage& i) { i.cameraId = 8; }},
    {"no pose",
     [](SunlitFlight& f, InputImage& i) { f.poses->externals.erase(i.path); },
     "image1.tif: no camera pose"},
    {"pose NaN",
     [](SunlitFlight& f, InputImage& i) { f.poses->externals[i.path].rotation.setConstant(kNan); },
     "Fit of the direct sunlight fraction: a reading, time or pose is not a number"},
    {"no place",
     [](SunlitFlight& f, InputImage& i) { f.poses->externals[i.path].position.setConstant(kNan); },
     "Unable to convert from output coordinate system to WGS-84"},
    {"no time", [](SunlitFlight&, InputImage& i) { i.geo.captureTime = 0.0; }, "No valid time"},
    {"time NaN",
     [](SunlitFlight&, InputImage& i) { i.geo.captureTime = kNan; },
     "Unable to compute sun position"},
    {"at night",
     [](SunlitFlight&, InputImage& i) { i.geo.captureTime += 57600.0; },
     "The sun is behind the horizon."},
};

TEST(SunlightFit, leavesOutWhatIsNoReading) {
    FlightPlan plan;
    plan.captures = 60;
    plan.fractions = {0.3, 0.6};
    for (const bool useSensorAngles : {false, true}) {
        const SunlitFlight whole(plan);
        SunlitFlight without(plan);
        without.images.clear();
        for (std::size_t i = 0; i < whole.images.size(); i += 2) {
            without.images.push_back(whole.images[i]);
        }
        const auto expected = without.fit(1, 1, useSensorAngles);
        for (const OutCase& c : kOut) {
            SunlitFlight flight(plan);
            for (std::size_t i = 1; i < flight.images.size(); i += 2) {
                flight.images[i].exif.sunIrradiance[1] *= 3.0;
                c.change(flight, flight.images[i]);
            }
            if (useSensorAngles && c.mountedError != nullptr) {
                EXPECT_EQ(test::messageOf<error>([&] {
                              (void)flight.fit(1, 1, true);
                          }).rfind(c.mountedError, 0),
                          0U)
                    << c.what;
                continue;
            }
            const auto result = flight.fit(1, 1, useSensorAngles);
            EXPECT_EQ(result.readingCount, expected.readingCount) << c.what;
            EXPECT_EQ(result.fraction, expected.fraction) << c.what;
        }
    }
}

TEST(SunlightFit, aReadingThatIsNoNumberIsNotPassedOver) {
    FlightPlan plan;
    plan.captures = 30;
    SunlitFlight flight(plan);
    flight.images[5].exif.sunIrradiance[0] = kNan;
    EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, 1); }),
              "Fit of the direct sunlight fraction: a reading, time or pose is not a number");
}

TEST(SunlightFit, theMountingOfTheFirstAcceptedImageIsWhereItBegins) {
    FlightPlan plan;
    plan.captures = 60;
    SunlitFlight flight(plan);
    for (InputImage& image : flight.images) {
        image.exif.sunSensorRelativeOrientation.reset();
    }
    EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, 1, true); }),
              "No valid sensor pose");
    flight.images[0].exif.sunIrradiance[0] = 0.0; // no reading
    flight.images[1].exif.sunSensorRelativeOrientation = plan.mounting.cast<float>();
    const auto result = flight.fit(0, 1, true);
    EXPECT_EQ(result.readingCount, plan.captures - 1);
    EXPECT_EQ((*result.orientation)[2], plan.mounting[2]);
    flight.images[0].exif.sunIrradiance[0] = 1.0;
    EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, 1, true); }),
              "No valid sensor pose");
}

TEST(SunlightFit, withoutItsOrientationAPosedReadingIsLeftOut) {
    FlightPlan plan;
    plan.captures = 30;
    SunlitFlight flight(plan);
    flight.images[5].exif.sunSensorRelativeOrientation.reset();
    EXPECT_EQ(flight.fit(0, 1).readingCount, plan.captures - 1);
}

TEST(SunlightFit, theFirstImageMayLackATime) {
    // The drift then counts from 1970: its coefficients say little, the fraction what it should.
    SunlitFlight flight{FlightPlan()};
    flight.images.front().geo.captureTime = 0.0;
    const auto result = flight.fit(0, 2);
    EXPECT_EQ(result.readingCount, flight.images.size() - 1);
    EXPECT_NEAR(result.fraction, 0.5, 0.01);
    EXPECT_TRUE(result.fractionVariance);
}

TEST(SunlightFit, aCameraWithoutSettingsTakesNoPart) {
    SunlitFlight flight{FlightPlan()};
    flight.settings.clear();
    EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, 0); }), "Not enough measurements");
}

TEST(SunlightFit, allBandsOrNone) {
    FlightPlan plan;
    plan.captures = 60;
    plan.fractions = {0.3, 0.7};
    SunlitFlight flight(plan);
    const auto results = flight.fitAll(2);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NEAR(results.at({500, 20}).fraction, 0.3, 0.04);
    EXPECT_NEAR(results.at({550, 20}).fraction, 0.7, 0.04);

    for (InputImage& image : flight.images) {
        image.exif.sunIrradiance[1] = 0.0;
    }
    const test::LogCapture log;
    EXPECT_TRUE(flight.fitAll(2).empty());
    EXPECT_EQ(log.count(6,
                        "Unable to estimate direct sunlight fraction for band {550 nm, width 20 "
                        "nm}: Not enough measurements"),
              1);
}

TEST(SunlightFit, findsHowTheSensorIsMounted) {
    FlightPlan plan = withFraction(0.6, 0.002);
    SunlitFlight flight(plan);
    const Eigen::Vector3f stated(0.0F, 0.0F, 20.0F);
    for (InputImage& image : flight.images) {
        image.exif.sunSensorRelativeOrientation = stated;
    }
    const auto result = flight.fit(0, 2, true);
    ASSERT_TRUE(result.orientation && result.orientationCovariance);
    EXPECT_NEAR(result.fraction, 0.6, 4.0 * standardError(*result.fractionVariance, result));
    EXPECT_LT(standardError(*result.fractionVariance, result), 0.02);
    for (Eigen::Index i = 0; i < 2; ++i) {
        const double deviation = standardError((*result.orientationCovariance)(i, i), result);
        EXPECT_NEAR((*result.orientation)[i], plan.mounting[i], 4.0 * deviation + 0.05) << i;
        EXPECT_LT(deviation, 0.5) << i;
    }
    EXPECT_EQ((*result.orientation)[2], 20.0);
    EXPECT_FALSE(flight.fit(0, 2, false).orientation);
}

TEST(SunlightFit, otherTypesTakeTheSensorsOwnAttitude) {
    FlightPlan plan = withFraction(0.6);
    plan.mounting = {0.0, 0.0, 0.0};
    SunlitFlight flight(plan);
    flight.settings.at(SunlitFlight::kCamera) = {static_cast<CorrectionType>(4)};
    EXPECT_EQ(test::messageOf<error>([&] { (void)flight.fit(0, 2); }), "Not enough measurements");
    for (InputImage& image : flight.images) {
        image.exif.sunSensorYawPitchRoll = image.exif.cameraYawPitchRoll;
        image.exif.sunSensorRelativeOrientation.reset();
    }
    for (const bool useSensorAngles : {false, true}) {
        const auto result = flight.fit(0, 2, useSensorAngles);
        EXPECT_NEAR(result.fraction, 0.6, 0.01);
        EXPECT_FALSE(result.orientation);
    }
}

/// Largest difference between the derivatives that the solver is given and central differences.
template <typename Functor>
double gradientError(const Functor& functor, std::vector<std::vector<double>> values) {
    ceres::DynamicAutoDiffCostFunction<Functor, 4> cost(new Functor(functor));
    std::vector<double*> blocks;
    std::vector<std::vector<double>> gradients;
    for (std::vector<double>& block : values) {
        cost.AddParameterBlock(static_cast<int>(block.size()));
        blocks.push_back(block.data());
        gradients.emplace_back(block.size());
    }
    cost.SetNumResiduals(1);
    std::vector<double*> jacobians;
    for (std::vector<double>& gradient : gradients) {
        jacobians.push_back(gradient.data());
    }
    double residual = 0.0;
    EXPECT_TRUE(cost.Evaluate(blocks.data(), &residual, jacobians.data()));
    constexpr double kStep = 1e-5;
    double worst = 0.0;
    for (std::size_t b = 0; b < values.size(); ++b) {
        for (std::size_t i = 0; i < values[b].size(); ++i) {
            const double value = values[b][i];
            double above = 0.0;
            double below = 0.0;
            values[b][i] = value + kStep;
            functor(blocks.data(), &above);
            values[b][i] = value - kStep;
            functor(blocks.data(), &below);
            values[b][i] = value;
            worst = std::max(worst, std::abs((above - below) / (2.0 * kStep) - gradients[b][i]));
        }
    }
    return worst;
}

TEST(SunlightResiduals, derivativesAreThoseOfTheResidual) {
    const std::vector<double> drift = {1.2, -0.3, 0.4};
    for (const double tilt : {0.97, 0.0, -0.6}) {
        const detail::SunlightResidual residual{0.7, 0.8, tilt, 1.1, 3};
        EXPECT_LT(gradientError(residual, {{0.6}, drift}), 1e-9) << tilt;
    }
    const Eigen::Vector3d sun = Eigen::Vector3d(0.3, -0.5, 0.7).normalized();
    const Eigen::Matrix3d camera =
        Eigen::Quaterniond(0.9, -0.2, -0.1, -0.3).normalized().toRotationMatrix();
    const detail::SunlightAngleResidual residual{
        0.7, sun, Eigen::Vector3d::UnitZ(), camera, 1.1, 3};
    for (const double omega : {-10.0, -100.0, 170.0}) { // up, sideways, down
        EXPECT_LT(gradientError(residual, {{0.6}, drift, {omega, 4.0, 15.0}}), 1e-9) << omega;
    }
}

TEST(SunlightResiduals, areReadingMinusModel) {
    // 1 + 2 * 0.5 - 4 * 0.25 = 1; tilts of 60 degrees see 5/8 and 3/8 of the sky.
    const double fraction = 0.25;
    const std::vector<double> drift = {1.0, 2.0, -4.0};
    const double* const blocks[] = {&fraction, drift.data()};
    double residual = 0.0;
    detail::SunlightResidual{0.5, 0.8, 0.5, 3.0, 3}(blocks, &residual);
    EXPECT_NEAR(residual, 3.0 - (0.75 * 0.625 + 0.25 * 0.8), 1e-15);
    detail::SunlightResidual{0.5, 0.0, -0.5, 3.0, 3}(blocks, &residual);
    EXPECT_NEAR(residual, 3.0 - 0.75 * 0.375, 1e-15);

    // Turned by phi about the camera's y axis, the sensor leans towards the sun or away from it.
    const Eigen::Vector3d sun(std::sin(0.7), 0.0, std::cos(0.7));
    const detail::SunlightAngleResidual mounted{
        0.5, sun, Eigen::Vector3d::UnitZ(), Eigen::Matrix3d::Identity(), 3.0, 3};
    for (const double phi : {0.5, -0.5, -1.2}) {
        const double angles[] = {0.0, phi / test::kDegree, 40.0};
        const double* const mountedBlocks[] = {&fraction, drift.data(), angles};
        double other = 0.0;
        mounted(mountedBlocks, &other);
        detail::SunlightResidual{0.5, std::max(0.0, std::cos(0.7 - phi)), std::cos(phi), 3.0, 3}(
            blocks, &residual);
        EXPECT_NEAR(other, residual, 1e-14) << phi;
    }
}

} // namespace
} // namespace tessik::radiometry
