#include "platform/camera/CameraExternals.h"
#include "platform/geo/Conversions.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/corrector/SunSensor.h"
#include "radiometry/sun/SunIrradiance.h"
#include "radiometry/sun/SunPosition.h"
#include "support/Almanac.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>

namespace tessik::radiometry {
namespace {

using Eigen::ArrayXd;
using Eigen::Vector3d;
using test::kDegree;
using test::kNan;
using test::messageOf;

constexpr auto kIrradiance = CorrectionType::CameraAndSunIrradiance;
constexpr auto kRelative = CorrectionType::CameraSunIrradianceAndSunAngle;
constexpr auto kAbsolute = static_cast<CorrectionType>(4);
/// A summer morning in the Alps: the sun is up, in the south-east.
constexpr double kMorning = 1592730000.0; // 2020-06-21 09:00 UTC
const GeoPosition kPlace = {47.0, 8.0, 500.0};

geo::ProjectCoordinateSystems systemsOf(const geo::CoordSystem& system) {
    return {geo::OutCoordSystem(system), geo::SiteCalibration()};
}

TEST(SunPosition, agreesWithAnIndependentEphemeris) {
    const auto samples = test::samplesFolder();
    std::ifstream file(samples ? *samples / "../reference/sun-positions.csv"
                               : std::filesystem::path());
    if (!file) {
        GTEST_SKIP() << "no ephemeris beside the samples";
    }
    std::string line;
    std::getline(file, line);
    int count = 0;
    while (std::getline(file, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        double time = 0.0;
        double latitude = 0.0;
        double longitude = 0.0;
        double azimuth = 0.0;
        double elevation = 0.0;
        std::istringstream(line) >> time >> latitude >> longitude >> azimuth >> elevation;
        const SunAngle sun =
            SunPositionEstimator().sunAngle(time, latitude * kDegree, longitude * kDegree);
        if (elevation >= 0.0) {
            const double tolerance = elevation > 10.0 ? 0.005 : 0.1;
            const double offset =
                test::azimuthOffset(sun.azimuth, azimuth * kDegree, elevation * kDegree);
            EXPECT_NEAR(offset / kDegree, 0.0, tolerance) << line;
            EXPECT_NEAR(sun.elevation / kDegree, elevation, tolerance) << line;
            ++count;
        }
    }
    EXPECT_GT(count, 0);
}

TEST(SunPosition, isOverheadAtTheEquatorAtNoonOfAnEquinox) {
    const double noon = 1584662400.0 + 43200.0; // 2020-03-20, and the equation of time
    const double correction = test::AlmanacSun(noon).equationOfTime / (15.0 * kDegree) * 3600.0;
    EXPECT_GT(SunPositionEstimator().sunAngle(noon - correction, 0.0, 0.0).elevation,
              89.8 * kDegree);
}

TEST(SunPosition, isThatWhichIsSeenThroughTheAir) {
    constexpr double kSunrise = 1600923600.0; // 2020-09-24 05:00 UTC
    double time = kSunrise;
    while (test::AlmanacAngle(time, 46.5 * kDegree, 0.0).altitude < 1.0 * kDegree) {
        time += 10.0;
    }
    const SunAngle seen = SunPositionEstimator().sunAngle(time, 46.5 * kDegree, 0.0);
    const double h = seen.elevation / kDegree;
    // G. G. Bennett, Journal of Navigation 35, 1982, at 15 degrees Celsius; and the almanac's 0.01.
    const double minutes = 283.0 / 288.0 / std::tan((h + 7.31 / (h + 4.4)) * kDegree);
    EXPECT_NEAR(
        h - test::AlmanacAngle(time, 46.5 * kDegree, 0.0).altitude / kDegree, minutes / 60.0, 0.02);
}

TEST(SunPosition, countsWholeSecondsAndRefusesNoTimeAtAll) {
    SunPositionEstimator estimator;
    const SunAngle epoch = estimator.sunAngle(0.0, 0.8, 0.1);
    EXPECT_LT(epoch.elevation, -60.0 * kDegree); // midnight in winter
    EXPECT_EQ(estimator.sunAngle(0.9, 0.8, 0.1).azimuth, epoch.azimuth);
    EXPECT_NE(estimator.sunAngle(1.0, 0.8, 0.1).azimuth, epoch.azimuth);
    for (const auto& [time, latitude] :
         {std::pair(kNan, 0.8), {1e300, 0.8}, {kMorning, kNan}, {-1e14, 0.8}}) {
        EXPECT_EQ(messageOf<error>([&, t = time, l = latitude] { estimator.sunAngle(t, l, 0.1); }),
                  "Unable to compute sun position");
    }
}

struct NoonCase {
    const char* system;
    GeoPosition place;
    double day; ///< a day's beginning, s
    double towardsEquator;
};

TEST(SunRay, pointsToTheEquatorAtSolarNoon) {
    for (const NoonCase& c : {NoonCase{"EPSG:32632", {47.0, 6.5, 500.0}, 1592697600.0, -1.0},
                              {"EPSG:2193", {-45.0, 168.0, 300.0}, 1608508800.0, 1.0},
                              {"EPSG:32610", {45.0, -119.4, 100.0}, 1508371200.0, -1.0},
                              {"EPSG:2053", {-29.0, 28.0, 900.0}, 1550707200.0, 1.0},
                              {"EPSG:4978", {36.0, 139.0, 40.0}, 1583020800.0, -1.0}}) {
        const geo::OutCoordSystem out(geo::CoordSystem::fromText(c.system));
        Vector3d here;
        Vector3d there;
        ASSERT_TRUE(out.fromWGS84(c.place, here));
        GeoPosition place = c.place;
        place.latitude += c.towardsEquator * 1e-3;
        ASSERT_TRUE(out.fromWGS84(place, there));
        const double mean = c.day + 43200.0 - c.place.longitude * 240.0;
        const double noon = mean - test::AlmanacSun(mean).equationOfTime / kDegree * 240.0;
        const auto [angles, ray, up] =
            correction::getSunRayAndUpDirection(here, noon, out, geo::SiteCalibration());
        const Vector3d horizontal = ray - ray.dot(up) * up;
        EXPECT_NEAR(horizontal.norm(), 1.0, 1e-9);
        EXPECT_NEAR(ray.dot(up), std::tan(angles.elevation), 1e-9);
        const double offset = std::acos(std::min(1.0, horizontal.dot((there - here).normalized())));
        EXPECT_LT(offset, 0.1 * kDegree) << c.system;
    }
}

TEST(SunRay, isNorthAtAzimuthZeroAndRefusesAxesOfAngles) {
    const geo::OutCoordSystem local;
    const double eighth = 45.0 * kDegree;
    EXPECT_LT((sunRay({1, 2, 3}, {0.0, eighth}, local) - Vector3d(0, 1, 1)).norm(), 1e-12);
    EXPECT_LT((sunRay({1, 2, 3}, {2.0 * eighth, 0.0}, local) - Vector3d(1, 0, 0)).norm(), 1e-12);
    const geo::OutCoordSystem degrees(geo::CoordSystem::fromEpsg(4326));
    EXPECT_EQ(messageOf<error>([&] {
                  sunRay({8, 47, 500}, {0.0, eighth}, degrees);
              }),
              "Unable to convert output coordinate system to East, North, Up: position 8 47 500");
}

struct SunCase {
    const char* why;
    double time;
    geo::ProjectCoordinateSystems systems;
    Vector3d position;
    const char* message;
};

TEST(SunRay, saysWhatIsMissing) {
    const geo::CoordSystem anchored = geo::CoordSystem::localAt(kPlace);
    constexpr const char* kNoAxes =
        "Unable to obtain east, north, up axes for output coordinate system";
    const SunCase cases[] = {
        {"all there", kMorning, systemsOf(anchored), {1, 2, 3}, "no error"},
        {"no time, and nothing else", 0.0, systemsOf({}), {1, 2, 3}, "No valid time"},
        {"no place",
         kMorning,
         systemsOf({}),
         {1, 2, 3},
         "Unable to convert from output coordinate system to WGS-84"},
        {"night and no axes",
         kMorning + 43200.0,
         systemsOf(geo::CoordSystem::fromEpsg(4326)),
         {8, 47, 500},
         "The sun is behind the horizon."},
        {"axes of angles",
         kMorning,
         systemsOf(geo::CoordSystem::fromEpsg(4326)),
         {8, 47, 500},
         kNoAxes},
    };
    for (const SunCase& c : cases) {
        EXPECT_EQ(messageOf<error>([&] {
                      correction::getSunRayAndUpDirection(
                          c.position, c.time, c.systems.output, c.systems.site);
                  }),
                  c.message)
            << c.why;
    }
}

TEST(SunRay, hasTheAxesOfTheOutputSystemHoweverTheSiteIsTurned) {
    const geo::OutCoordSystem out(geo::CoordSystem::localAt(kPlace));
    geo::SiteCalibration site;
    site.rotation = Eigen::AngleAxisd(0.5, Vector3d::UnitZ()).toRotationMatrix();
    const auto turned = correction::getSunRayAndUpDirection({0, 0, 0}, kMorning, out, site);
    const auto plain = correction::getSunRayAndUpDirection({0, 0, 0}, kMorning, out, {});
    EXPECT_EQ(turned.sunRay, plain.sunRay);
    EXPECT_EQ(turned.up, plain.up);
}

struct FactorCase {
    const char* why;
    double sinElevation, cosIncidence, cosTilt, fraction, factor;
};

TEST(SunFactor, turnsTheReadingIntoThatOfALevelSensor) {
    for (const FactorCase& c :
         {FactorCase{"level, no direct light", 0.6, 0.6, 1.0, 0.0, 1.0},
          {"level", 0.6, 0.6, 1.0, 0.7, 1.0},
          {"level, direct light only", 0.6, 0.6, 1.0, 1.0, 1.0},
          {"diffuse: 1 / 0.82", 0.6, 0.9, 0.8, 0.0, 1.0 / 0.82},
          {"diffuse, looking down: 1 / 0.32", 0.6, 0.9, -0.6, 0.0, 3.125},
          {"direct light only", 0.5, 0.8, 0.9, 1.0, 0.625},
          {"sun behind: 0.75 / (0.5 * 0.68)", 0.5, -0.3, 0.6, 0.5, 0.75 / 0.34},
          {"incidence unknown: as behind", 0.5, kNan, 0.6, 0.5, 0.75 / 0.34},
          {"both: 0.6 / (0.2 + 0.8 * 0.82)", 0.0, 1.0, 0.8, 0.2, 0.8 / 0.856}}) {
        const correction::SunInfo info({0.0, std::asin(c.sinElevation)}, c.cosIncidence, c.cosTilt);
        const ArrayXd factors =
            correction::sunPosition(info, (ArrayXd(2) << 0.0, c.fraction).finished());
        EXPECT_NEAR(factors(1), c.factor, 1e-12) << c.why;
    }
}

TEST(SensorPose, comesFromTheCameraOrFromTheSensorItself) {
    const geo::OutCoordSystem local;
    ExifInfo exif = test::plainExif(5, 3);
    GlobalShutter camera;
    const auto pose = [&](CorrectionType type) {
        return correction::sunIrradianceSensorPoseVector(exif, camera, {}, local, type);
    };
    const auto expectPose = [&](CorrectionType type, const Vector3d& expected) {
        EXPECT_LT((pose(type) - expected).norm(), 1e-6) << pose(type).transpose();
    };
    for (const CorrectionType type : {kRelative, kAbsolute}) {
        EXPECT_EQ(messageOf<error>([&] { pose(type); }), "No valid sensor pose");
    }
    // A camera that looks down, its upper edge towards the north, with a sensor on its back: up.
    exif.sunSensorRelativeOrientation = Eigen::Vector3f(0, 0, 0);
    EXPECT_EQ(pose(kRelative), Vector3d::UnitZ());
    // 30 degrees about the camera's x axis: towards its lower edge, the south.
    const double s = std::sin(30.0 * kDegree);
    const double c = std::cos(30.0 * kDegree);
    exif.sunSensorRelativeOrientation = Eigen::Vector3f(30, 0, 75);
    expectPose(kRelative, {0, -s, c});
    // As much about its y axis, backwards: towards its left, the west. Turned by a quarter to the
    // west, the camera's left is the south.
    exif.sunSensorRelativeOrientation = Eigen::Vector3f(0, -30, 75);
    expectPose(kRelative, {-s, 0, c});
    camera.rotation = Eigen::AngleAxisd(90.0 * kDegree, Vector3d::UnitZ()) * camera.rotation;
    expectPose(kRelative, {0, -s, c});
    exif.sunSensorYawPitchRoll = Vector3d(90, 0, 30); // right side down, towards the south
    expectPose(kRelative, {0, -s, c});
    exif.sunSensorYawPitchRoll = Vector3d(0, 0, 30);
    expectPose(kAbsolute, {s, 0, c});
    const geo::OutCoordSystem degrees(geo::CoordSystem::fromEpsg(4326));
    EXPECT_EQ(messageOf<error>([&] {
                  correction::sunIrradianceSensorPoseVector(exif, camera, {}, degrees, kAbsolute);
              }),
              "No valid sensor pose");
}

/// One image of two bands with an irradiance sensor, somewhere on the earth.
struct Capture {
    explicit Capture(const geo::CoordSystem& system) : systems(systemsOf(system)) {
        image.exif = test::plainExif(5, 3, 2);
        image.exif.sunIrradiance = {0.8, 1.6};
        image.geo.captureTime = kMorning;
        systems.output.fromWGS84(kPlace, camera.position);
    }

    [[nodiscard]] ArrayXd irradiance(CorrectionType type) const {
        return correction::correctedSunIrradiance(image.exif,
                                                  image.geo,
                                                  image.path,
                                                  camera,
                                                  fraction,
                                                  systems.output,
                                                  systems.site,
                                                  type);
    }

    /// Message of the error, or "no error".
    std::string correct(CorrectionType type, BandImage& bands) const {
        const auto sources = datasource::create(
            image, CameraParams(), camera, systems, {}, fraction, {type}, nullptr, {});
        return messageOf<error>([&] {
            corrector::SunSensor corrector;
            test::run(corrector, sources, bands);
        });
    }

    InputImage image;
    GlobalShutter camera;
    geo::ProjectCoordinateSystems systems;
    ArrayXd fraction = (ArrayXd(2) << 0.85, 0.6).finished();
};

TEST(SunIrradiance, ofALevelSensorStaysAndOfATiltedOneIsScaled) {
    Capture capture(geo::CoordSystem::fromEpsg(2056));
    const SunAngle sun = SunPositionEstimator().sunAngle(
        kMorning, kPlace.latitude * kDegree, kPlace.longitude * kDegree);
    capture.image.exif.sunSensorYawPitchRoll = Vector3d(33, 0, 0);
    EXPECT_NEAR(capture.irradiance(kAbsolute)(0), 0.8, 1e-9);
    EXPECT_NEAR(capture.irradiance(kAbsolute)(1), 1.6, 1e-9);
    // Nose down by 20 degrees towards the sun's azimuth: the top leans to the sun.
    capture.image.exif.sunSensorYawPitchRoll = Vector3d(sun.azimuth / kDegree, -20, 0);
    const double incidence = std::sin(sun.elevation + 20.0 * kDegree);
    const double view = 0.5 + 0.5 * std::pow(std::cos(20.0 * kDegree), 2);
    const ArrayXd found = capture.irradiance(kAbsolute);
    for (int b : {0, 1}) {
        const double d = capture.fraction(b);
        const double factor =
            (d * std::sin(sun.elevation) + 1.0 - d) / (d * incidence + (1.0 - d) * view);
        EXPECT_LT(factor, 0.95);
        EXPECT_NEAR(
            found(b), capture.image.exif.sunIrradiance[static_cast<std::size_t>(b)] * factor, 1e-6);
    }
    // The camera stands where the processing origin puts it.
    const Vector3d there = capture.camera.position;
    capture.camera.position.setZero();
    capture.systems.output = geo::OutCoordSystem(geo::CoordSystem::fromEpsg(2056), there);
    EXPECT_LT((capture.irradiance(kAbsolute) - found).abs().maxCoeff(), 1e-12);
}

TEST(SunSensor, dividesByTheReadingWithoutPoseTimeOrPlace) {
    Capture capture{geo::CoordSystem()};
    capture.image.geo = {};
    capture.fraction.resize(0);
    const BandImage raw = {test::ramp(3, 5), test::ramp(3, 5, 50)};
    BandImage bands = raw;
    const test::LogCapture log;
    EXPECT_EQ(capture.correct(CorrectionType::CameraOnly, bands), "no error");
    EXPECT_EQ(bands, raw);
    EXPECT_EQ(capture.correct(kIrradiance, bands), "no error");
    EXPECT_EQ(bands[0], BandMatrix(raw[0] * 1.25F));
    EXPECT_EQ(bands[1], BandMatrix(raw[1] * 0.625F));
    EXPECT_EQ(log.count(logging::kInfo, "Sun irradiance correction: 0.8 1.6"), 1) << log.all();
    capture.image.exif.sunIrradiance = {0.0, 1.0};
    EXPECT_EQ(capture.correct(kIrradiance, bands), "no error");
    EXPECT_TRUE(std::isinf(bands[0](0, 0)));
}

TEST(SunSensor, dividesByTheCorrectedReading) {
    Capture capture(geo::CoordSystem::fromEpsg(32632));
    capture.image.exif.sunSensorYawPitchRoll = Vector3d(10, 5, -15);
    const BandImage raw = {test::ramp(3, 5), test::ramp(3, 5, 50)};
    BandImage bands = raw;
    EXPECT_EQ(capture.correct(kAbsolute, bands), "no error");
    const ArrayXd irradiance = capture.irradiance(kAbsolute);
    EXPECT_GT(std::abs(irradiance(0) - 0.8), 0.01);
    for (int b : {0, 1}) {
        const auto i = static_cast<std::size_t>(b);
        EXPECT_EQ(bands[i], BandMatrix(raw[i] * static_cast<float>(1.0 / irradiance(b))));
    }
}

struct RefusalCase {
    CorrectionType type;
    void (*spoil)(Capture&);
    const char* message;
};

TEST(SunSensor, refusesBeforeTheFirstPixel) {
    const RefusalCase cases[] = {
        {kIrradiance,
         [](Capture& c) { c.image.exif.sunIrradiance.clear(); },
         "Correcting for sun irradiance: invalid number of bands, found 2 but expected 0 from "
         "image "
         "metadata"},
        {kRelative,
         [](Capture& c) { c.image.exif.sunIrradiance.resize(1); },
         "Correcting for sun irradiance: invalid number of bands, found 2 but expected 1 from "
         "image "
         "metadata"},
        {kRelative,
         [](Capture& c) {
             c.fraction.resize(0);
             c.image.exif.sunIrradiance.resize(1);
             c.image.exif.sunSensorRelativeOrientation.reset();
         },
         "No valid sensor pose"},
        {kAbsolute,
         [](Capture& c) {
             c.fraction.resize(0);
             c.image.geo.captureTime = 0.0;
         },
         "No valid time"},
        {kAbsolute,
         [](Capture& c) { c.fraction.resize(0); },
         "Correcting for sun irradiance: invalid number of bands, found 0 but expected 2 from "
         "image "
         "metadata"},
        {kRelative,
         [](Capture& c) { c.image.exif.sunSensorRelativeOrientation.reset(); },
         "No valid sensor pose"},
        {kAbsolute,
         [](Capture& c) { c.image.exif.sunSensorYawPitchRoll.reset(); },
         "No valid sensor pose"},
        {kAbsolute, [](Capture& c) { c.image.geo.captureTime = 0.0; }, "No valid time"},
        {kRelative,
         [](Capture& c) { c.image.geo.captureTime += 43200.0; },
         "The sun is behind the horizon."},
        {kRelative,
         [](Capture& c) { c.systems = geo::ProjectCoordinateSystems(); },
         "Unable to convert from output coordinate system to WGS-84"},
        {kRelative, [](Capture& /*c*/) {}, "no error"},
        {kAbsolute, [](Capture& /*c*/) {}, "no error"},
    };
    const BandImage raw = {test::ramp(3, 5), test::ramp(3, 5, 50)};
    for (const RefusalCase& c : cases) {
        Capture capture(geo::CoordSystem::fromEpsg(32632));
        capture.image.exif.sunSensorRelativeOrientation = Eigen::Vector3f(0, 0, 0);
        capture.image.exif.sunSensorYawPitchRoll = Vector3d(0, 0, 0);
        c.spoil(capture);
        BandImage bands = raw;
        EXPECT_EQ(capture.correct(c.type, bands), c.message);
        EXPECT_EQ(bands == raw, std::string(c.message) != "no error") << c.message;
    }
}

} // namespace
} // namespace tessik::radiometry
