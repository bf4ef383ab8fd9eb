#include "platform/exif/ExifReader.h"
#include "platform/math/Angle.h"
#include "simulate/ClearSky.h"
#include "simulate/Course.h"
#include "simulate/Flight.h"
#include "simulate/Sun.h"
#include "support/Support.h"

#include <Eigen/QR>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;

double angleBetween(double azimuth, double elevation, double otherAzimuth, double otherElevation) {
    return std::acos(std::min(1.0,
                              std::sin(elevation) * std::sin(otherElevation) +
                                  std::cos(elevation) * std::cos(otherElevation) *
                                      std::cos(azimuth - otherAzimuth))) /
           kDegree;
}

/// A vector of a body's forward, right, down axes in north, east, down, by spherical trigonometry.
Eigen::Vector3d turned(const Eigen::Vector3d& yawPitchRollDegrees, const Eigen::Vector3d& v) {
    const double cy = std::cos(yawPitchRollDegrees[0] * kDegree);
    const double sy = std::sin(yawPitchRollDegrees[0] * kDegree);
    const double cp = std::cos(yawPitchRollDegrees[1] * kDegree);
    const double sp = std::sin(yawPitchRollDegrees[1] * kDegree);
    const double cr = std::cos(yawPitchRollDegrees[2] * kDegree);
    const double sr = std::sin(yawPitchRollDegrees[2] * kDegree);
    return {v.x() * cy * cp + v.y() * (cy * sp * sr - sy * cr) + v.z() * (cy * sp * cr + sy * sr),
            v.x() * sy * cp + v.y() * (sy * sp * sr + cy * cr) + v.z() * (sy * sp * cr - cy * sr),
            -v.x() * sp + v.y() * cp * sr + v.z() * cp * cr};
}

/// Where the sun is geometrically, in north, east, down: mean elements of the low-order theory,
/// with the equation of time from its two terms. J. Meeus, Astronomical Algorithms, 2nd edition,
/// chapters 25 and 28; good to 0.02 degrees.
Eigen::Vector3d sunFromEquationOfTime(double unixSeconds, double latitude, double longitude) {
    const double century = (unixSeconds - 946728000.0) / 86400.0 / 36525.0;
    const double meanLongitude = (280.46646 + 36000.76983 * century) * kDegree;
    const double anomaly = (357.52911 + 35999.05029 * century) * kDegree;
    const double e = 0.016708634 - 0.000042037 * century;
    const double center = 1.914602 * std::sin(anomaly) + 0.019993 * std::sin(2.0 * anomaly);
    const double node = (125.04 - 1934.136 * century) * kDegree;
    const double apparent = meanLongitude + (center - 0.00569 - 0.00478 * std::sin(node)) * kDegree;
    const double obliquity = (23.439291 - 0.0130042 * century + 0.00256 * std::cos(node)) * kDegree;
    const double declination = std::asin(std::sin(obliquity) * std::sin(apparent));
    const double y = std::pow(std::tan(obliquity / 2.0), 2.0);
    const double equationOfTime = y * std::sin(2.0 * meanLongitude) - 2.0 * e * std::sin(anomaly) +
                                  4.0 * e * y * std::sin(anomaly) * std::cos(2.0 * meanLongitude) -
                                  0.5 * y * y * std::sin(4.0 * meanLongitude) -
                                  1.25 * e * e * std::sin(2.0 * anomaly);
    const double hourAngle =
        (std::fmod(unixSeconds, 86400.0) / 240.0 - 180.0 + longitude) * kDegree + equationOfTime;
    const double phi = latitude * kDegree;
    return {std::cos(phi) * std::sin(declination) -
                std::sin(phi) * std::cos(declination) * std::cos(hourAngle),
            -std::cos(declination) * std::sin(hourAngle),
            -std::sin(phi) * std::sin(declination) -
                std::cos(phi) * std::cos(declination) * std::cos(hourAngle)};
}

/// Relative RMS deviation of readings from the best parabola in time, after each is divided by the
/// share that its sensor received.
double parabolaMisfit(const std::vector<double>& seconds,
                      const std::vector<double>& readings,
                      const std::vector<double>& shares) {
    const auto count = static_cast<Eigen::Index>(readings.size());
    Eigen::MatrixXd powers(count, 3);
    Eigen::VectorXd values(count);
    for (Eigen::Index i = 0; i < count; ++i) {
        const auto n = static_cast<std::size_t>(i);
        const double t = (seconds[n] - seconds.front()) / 100.0;
        powers.row(i) << 1.0, t, t * t;
        values[i] = readings[n] / shares[n];
    }
    const Eigen::VectorXd fitted = powers * powers.colPivHouseholderQr().solve(values).eval();
    return std::sqrt((values.array() / fitted.array() - 1.0).square().mean());
}

/// Readings of one band of a flight, and the shares that follow from the flight's own tags.
struct Readings {
    std::vector<double> seconds;
    std::vector<double> values;
    std::vector<double> shares;
    std::vector<double> sharesOfOtherFraction; ///< for one direct fraction that is off by 0.1
    std::vector<double> levelShares;           ///< as if the sensor were level
};

class ClearFlight : public testing::Test {
protected:
    ClearFlight() {
        options.captures = 120;
        options.width = options.height = kSmallestSide;
        options.hasTruth = false;
        options.sky = Sky::Clear;
        options.clearSky.directFraction = 0.7;
        options.clearSky.perBand = true;
        options.clearSky.mount = {-4.0, 3.0, 20.0};
    }
    void render() {
        renderFlight(folder.path() / "flight", options);
        std::ifstream stream(folder.path() / "flight" / kTruthFolder / kManifestFile);
        manifest = nlohmann::json::parse(stream);
    }
    /// The sun comes from time and position, the sensor from its angles, the fraction from the
    /// wavelength.
    [[nodiscard]] Readings readingsOf(std::size_t band) const {
        Readings result;
        for (std::size_t i = band; i < manifest.at("files").size(); i += 5) {
            const auto& record = manifest.at("files").at(i);
            const exif::ImageMetadata image = exif::readMetadata(
                folder.path() / "flight" / kImagesFolder / record.at("file").get<std::string>());
            const Eigen::Vector3d sun = sunFromEquationOfTime(
                image.geo.captureTime, image.geo.position->latitude, image.geo.position->longitude);
            const Eigen::Vector3d normal =
                turned(image.exif.sunSensorYawPitchRoll.value(), {0.0, 0.0, -1.0});
            const double incidence = std::max(0.0, normal.dot(sun));
            const double q = -normal.z();
            const double sky = q < 0.0 ? 0.5 - 0.5 * q * q : 0.5 + 0.5 * q * q;
            const double f = 0.7 + 2e-4 * (image.exif.bands.at(0).wavelengthNm - 650.0);
            EXPECT_NEAR(record.at("direct_fraction"), f, 1e-12);
            // Refraction and the other formula may differ by 0.02 degrees.
            EXPECT_NEAR(record.at("cos_incidence"), incidence, 6e-4);
            EXPECT_NEAR(record.at("cos_tilt"), q, 1e-12);
            const double sinElevation = -sun.z();
            EXPECT_NEAR(record.at("irradiance").get<double>() /
                            record.at("facing_irradiance").get<double>(),
                        f * sinElevation + 1.0 - f,
                        6e-4);
            EXPECT_EQ(image.exif.sunIrradiance.at(0), record.at("reading").get<double>());
            result.seconds.push_back(image.geo.captureTime);
            result.values.push_back(image.exif.sunIrradiance.at(0));
            result.shares.push_back(f * incidence + (1.0 - f) * sky);
            result.sharesOfOtherFraction.push_back((f - 0.1) * incidence + (1.1 - f) * sky);
            result.levelShares.push_back(f * sinElevation + 1.0 - f);
        }
        return result;
    }

    test::TemporaryFolder folder;
    FlightOptions options;
    nlohmann::json manifest;
};

TEST_F(ClearFlight, noiselessReadingsAreAParabolaTimesTheShareThatTheTagsImply) {
    options.clearSky.sensorNoise = 0.0;
    render();
    for (std::size_t band = 0; band < 5; ++band) {
        const Readings readings = readingsOf(band);
        EXPECT_LT(parabolaMisfit(readings.seconds, readings.values, readings.shares), 5e-4);
        EXPECT_GT(parabolaMisfit(readings.seconds, readings.values, readings.sharesOfOtherFraction),
                  5e-3);
        EXPECT_GT(parabolaMisfit(readings.seconds, readings.values, readings.levelShares), 0.03);
    }
}

TEST_F(ClearFlight, theNoiseOfTheReadingsIsTheOneAskedFor) {
    options.clearSky.sensorNoise = 0.02;
    render();
    double sum = 0.0;
    for (std::size_t band = 0; band < 5; ++band) {
        const Readings readings = readingsOf(band);
        const double misfit = parabolaMisfit(readings.seconds, readings.values, readings.shares);
        sum += misfit * misfit / (1.0 - 3.0 / 120.0);
    }
    // With 585 degrees of freedom the standard deviation is 2.9 %.
    EXPECT_NEAR(std::sqrt(sum / 5.0), 0.02, 0.02 * 0.15);
}

TEST_F(ClearFlight, theSensorHangsOnTheCameraByItsMount) {
    options.captures = 30;
    render();
    EXPECT_EQ(manifest.at("sensor_omega_phi_kappa_deg"), (nlohmann::json{-4.0, 3.0, 20.0}));
    // The normal in camera axes (right, upper edge of the image, back), then forward, right, down.
    const double omega = -4.0 * kDegree;
    const double phi = 3.0 * kDegree;
    const Eigen::Vector3d inCamera(
        std::sin(phi), -std::sin(omega) * std::cos(phi), std::cos(omega) * std::cos(phi));
    const Eigen::Vector3d inBody(inCamera.y(), inCamera.x(), -inCamera.z());
    for (const auto& record : manifest.at("files")) {
        const ExifInfo exif = exif::readMetadata(folder.path() / "flight" / kImagesFolder /
                                                 record.at("file").get<std::string>())
                                  .exif;
        const Eigen::Vector3d normal = turned(exif.cameraYawPitchRoll.value(), inBody);
        EXPECT_LT((turned(exif.sunSensorYawPitchRoll.value(), {0, 0, -1}) - normal).norm(), 1e-12);
    }
    // Kappa turns the sensor about its normal, anticlockwise seen from above, thus against yaw.
    EXPECT_NEAR(sensorAttitude({30.0, 0.0, 0.0}, {0.0, 0.0, 20.0}).yawDegrees, 10.0, 1e-12);
}

TEST(ClearSky, aLevelSensorReadsTheIrradianceOnTheGround) {
    ClearSky::Options options;
    options.sensorNoise = 0.0;
    for (const double fraction : {0.0, 0.6, 1.0}) {
        options.directFraction = fraction;
        Station level = surveyStation(1, 3, 1.5);
        level.attitude = {77.0, 0.0, 0.0};
        Station upsideDown = level;
        upsideDown.attitude.rollDegrees = 180.0;
        const ClearSky sky(1, options, {level, upsideDown});
        EXPECT_NEAR(sky.reading(0, 668.0).irradiance, sky.irradiance(0, 668.0), 1e-12);
        EXPECT_NEAR(sky.reading(1, 668.0).irradiance, 0.0, 1e-12);
    }
}

TEST(Survey, legsAlternateTurnsBankAndTheWindTilts) {
    Eigen::Vector3d largest =
        Eigen::Vector3d::Zero(); // pitch, roll on legs, roll in turns; degrees
    std::set<int> headings;
    constexpr double kInterval = 0.2;
    Station last = surveyStation(1, 0, kInterval);
    for (std::size_t capture = 1; capture < 3000; ++capture) {
        const Station station = surveyStation(1, capture, kInterval);
        const Attitude& a = station.attitude;
        const double seconds = static_cast<double>(station.microseconds - last.microseconds) * 1e-6;
        const Eigen::Vector2d step(station.northM - last.northM, station.eastM - last.eastM);
        EXPECT_NEAR(step.norm() / seconds, kAdvanceM / kAdvanceSeconds, 0.03) << capture;
        const double course = std::atan2(step.y(), step.x()) / kDegree;
        const double turning = std::remainder(a.yawDegrees - last.attitude.yawDegrees, 360.0);
        EXPECT_LT(std::abs(std::remainder(a.yawDegrees - course, 360.0)), 10.0) << capture;
        // No angle jumps: an aircraft turns by some tens of degrees per second at most.
        EXPECT_LT(std::abs(turning) / seconds, 45.0) << capture;
        EXPECT_LT(std::abs(a.pitchDegrees - last.attitude.pitchDegrees) / seconds, 30.0) << capture;
        EXPECT_LT(std::abs(a.rollDegrees - last.attitude.rollDegrees) / seconds, 30.0) << capture;
        largest[0] = std::max(largest[0], std::abs(a.pitchDegrees));
        const bool isLeg = station.northM > 8.0 && station.northM < 172.0;
        largest[isLeg ? 1 : 2] = std::max(largest[isLeg ? 1 : 2], std::abs(a.rollDegrees));
        if (std::abs(course) < 1e-6 || std::abs(std::abs(course) - 180.0) < 1e-6) {
            headings.insert(static_cast<int>(std::lround(std::abs(course))));
        } else if (station.northM > 184.0 || station.northM < -4.0) {
            // Bank is towards the inside, beyond what the wind does.
            EXPECT_GT(a.rollDegrees * (turning > 0.0 ? 1.0 : -1.0), 5.0) << capture;
        }
        last = station;
    }
    EXPECT_EQ(headings, (std::set<int>{0, 180}));
    for (const int axis : {0, 1}) {
        EXPECT_GT(largest[axis], 5.0);
        EXPECT_LT(largest[axis], 10.0);
    }
    EXPECT_GT(largest[2], 15.0);
    EXPECT_LT(largest[2], 25.0);
}

TEST(Sun, positionsAgreeWithReferenceOnes) {
    const std::optional<fs::path> samples = test::samplesFolder();
    const fs::path file = samples.value_or("") / ".." / "reference" / "sun-positions.csv";
    if (!samples || !fs::exists(file)) {
        GTEST_SKIP() << "no reference positions beside the samples";
    }
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    double largest = 0.0;
    int compared = 0;
    while (std::getline(stream, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream fields(line);
        double time = 0.0;
        GeographicPosition position;
        double azimuth = 0.0;
        double elevation = 0.0;
        ASSERT_TRUE(fields >> time >> position.latitudeDegrees >> position.longitudeDegrees >>
                    azimuth >> elevation)
            << line;
        if (elevation < 5.0) {
            continue; // the weather's part of refraction
        }
        const SunDirection sun = sunDirection(time, position);
        const double apart =
            angleBetween(sun.azimuth, sun.elevation, azimuth * kDegree, elevation * kDegree);
        EXPECT_LT(apart, 0.05) << line;
        largest = std::max(largest, apart);
        ++compared;
    }
    EXPECT_GT(compared, 5);
    RecordProperty("largest deviation, degrees", std::to_string(largest));
    std::cout << "largest deviation of " << compared << " positions: " << largest << " degrees\n";
}

TEST(ClearSky, whatCannotBeFlownIsRefusedBeforeAnythingIsMade) {
    const test::TemporaryFolder folder;
    const fs::path flight = folder.path() / "flight";
    FlightOptions small;
    small.width = 40;
    small.height = kSmallestSide - 1;
    FlightOptions late;
    late.sky = Sky::Clear;
    late.intervalSeconds = 3600.0;
    late.captures = 9;
    EXPECT_EQ(test::messageOf<Failure>([&] { renderFlight(flight, small); }),
              flight.string() + ": images of 40 x 15 pixels: expected at least 16 x 16");
    EXPECT_EQ(test::messageOf<Failure>([&] { renderFlight(flight, late); }),
              flight.string() + ": the flight would last beyond midnight UTC");
    EXPECT_FALSE(fs::exists(flight));
}

} // namespace
} // namespace tessik::simulate
