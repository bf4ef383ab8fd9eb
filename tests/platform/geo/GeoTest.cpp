#include "platform/geo/Conversions.h"
#include "platform/math/RotationMatrix.h"
#include "support/Almanac.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessik::geo {
namespace {

using Eigen::Vector3d;
using test::kDegree;
using test::kNan;

void expectNear(const Vector3d& found, const Vector3d& expected, double tolerance) {
    EXPECT_LE((found - expected).cwiseAbs().maxCoeff(), tolerance)
        << found.transpose() << " instead of " << expected.transpose();
}

struct SystemCase {
    const char* definition;
    GeoPosition place;
};

const SystemCase kSystems[] = {{"EPSG:32632", {47.0, 8.0, 500.0}},
                               {"EPSG:32733", {-25.0, 16.5, 100.0}},
                               {"EPSG:2193", {-45.0, 168.0, 300.0}},
                               {"EPSG:2263", {40.7, -74.1, 10.0}}, // feet
                               {"EPSG:2056+5728", {46.8, 8.2, 600.0}},
                               {"EPSG:31467", {48.1, 9.2, 600.0}},
                               {"EPSG:4326", {-12.0, -77.0, 100.0}},
                               {"EPSG:4978", {35.0, 139.0, 40.0}}};

Vector3d positionIn(const CoordSystem& system, const GeoPosition& place) {
    Vector3d position(kNan, kNan, kNan);
    EXPECT_TRUE(system.fromWGS84(place, position));
    return position;
}

TEST(CoordSystem, convertsWhatIsKnownFromElsewhere) {
    // The CN Tower, as gazetteers have it: 43 38 33.24 N, 79 23 13.7 W, zone 17, to the metre.
    const GeoPosition tower = {43.642567, -79.387139, 76.0};
    expectNear(positionIn(CoordSystem::fromEpsg(32617), tower), {630084, 4833438, 76}, 1.0);
    // These follow from the definition of the ellipsoid.
    const double pole = 6378137.0 * (1.0 - 1.0 / 298.257223563);
    const CoordSystem geocentric = CoordSystem::fromEpsg(4978);
    expectNear(positionIn(geocentric, {0.0, 90.0, 100.0}), {0.0, 6378237.0, 0.0}, 1e-6);
    expectNear(positionIn(geocentric, {90.0, 0.0, 0.0}), {0.0, 0.0, pole}, 1e-6);
    // x is longitude and y latitude whatever the authority says.
    expectNear(positionIn(CoordSystem::fromEpsg(4326), {47.0, 8.0, 5.0}), {8, 47, 5}, 1e-9);
}

TEST(CoordSystem, ofAnAnchorIsAPlaneThatTouchesTheEarth) {
    const GeoPosition anchor = {47.123456789, 8.5, 400.0};
    const CoordSystem local = CoordSystem::localAt(anchor);
    expectNear(positionIn(local, anchor), Vector3d::Zero(), 1e-6);
    GeoPosition place;
    ASSERT_TRUE(local.toWGS84({0.0, 1000.0, 0.0}, place));
    const double s = std::sin(anchor.latitude * kDegree);
    const double w = 1.0 - 0.00669437999014 * s * s;
    const double meridianRadius = 6378137.0 * (1.0 - 0.00669437999014) / std::pow(w, 1.5) + 400.0;
    EXPECT_NEAR((place.latitude - anchor.latitude) * kDegree * meridianRadius, 1000.0, 0.01);
    EXPECT_NEAR(place.longitude, anchor.longitude, 1e-9);
    EXPECT_NEAR(place.height, 400.0 + 1000.0 * 1000.0 / 2.0 / meridianRadius, 0.001);
    expectNear(positionIn(CoordSystem::localAt({47.0, 8.0, kNan}), {47.0, 8.0, 7.0}),
               {0.0, 0.0, 7.0},
               1e-6);
}

TEST(CoordSystem, keepsTheDatumWhereTheGridOfHeightsIsMissing) {
    const GeoPosition place = {46.8, 8.2, 600.0};
    const Vector3d flat = positionIn(CoordSystem::fromEpsg(2056), place);
    const Vector3d high = positionIn(CoordSystem::fromText("EPSG:2056+5728"), place);
    EXPECT_LE((high - flat).head<2>().norm(), 2.0);
}

TEST(CoordSystem, refusesWhatHasNoPlaceOnTheEarth) {
    for (const char* definition : {"", "EPSG:999999", "not a system", "EPSG:5703", "+proj=utm"}) {
        const std::string message =
            test::messageOf<std::runtime_error>([&] { CoordSystem::fromText(definition); });
        EXPECT_EQ(message.rfind("Coordinate system '" + std::string(definition) + "': ", 0), 0U)
            << message;
    }
    EXPECT_EQ(test::messageOf<std::runtime_error>([] {
                  CoordSystem::localAt({95.0, 8.0, 0.0});
              }),
              "Coordinate system 'local +ellps=WGS84 +lat_0=95 +lon_0=8 +h_0=0': not understood");
    EXPECT_THROW(CoordSystem::localAt({kNan, 8.0, 0.0}), std::runtime_error);
    EXPECT_THROW(CoordSystem::localAt({47.0, kNan, 0.0}), std::runtime_error);
    EXPECT_FALSE(isConvertibleToWGS84(OutCoordSystem(), SiteCalibration()));
    GeoPosition untouched = {1.0, 2.0, 3.0};
    EXPECT_FALSE(out2wgs84(OutCoordSystem(), SiteCalibration(), {0, 0, 0}, untouched));
    const OutCoordSystem utm(CoordSystem::fromEpsg(32632));
    EXPECT_TRUE(isConvertibleToWGS84(utm, SiteCalibration()));
    EXPECT_FALSE(out2wgs84(utm, SiteCalibration(), {kNan, 0, 0}, untouched));
    EXPECT_FALSE(out2wgs84(utm, SiteCalibration(), {1e12, 1e12, 0}, untouched));
    EXPECT_FALSE(isConvertibleToWGS84(utm, {0.0, Eigen::Matrix3d::Identity(), {0, 0, 0}}));
    EXPECT_EQ(untouched.latitude, 1.0);
    Vector3d position(1, 2, 3);
    EXPECT_FALSE(wgs842out(utm, SiteCalibration(), {47.0, 8.0, kNan}, position));
    EXPECT_EQ(position, Vector3d(1, 2, 3));
}

TEST(Conversions, comeBackThroughSystemAndSite) {
    const Eigen::Matrix3d turned =
        Eigen::AngleAxisd(0.4, Vector3d(1, 2, 3).normalized()).toRotationMatrix();
    for (const SystemCase& c : kSystems) {
        const OutCoordSystem out(CoordSystem::fromText(c.definition));
        const Vector3d origin = positionIn(out, c.place);
        for (const SiteCalibration& site : {SiteCalibration(), {1.5, turned, origin}}) {
            Vector3d position;
            ASSERT_TRUE(wgs842out(out, site, c.place, position)) << c.definition;
            GeoPosition place;
            ASSERT_TRUE(out2wgs84(out, site, position, place));
            EXPECT_NEAR(place.latitude, c.place.latitude, 2e-8) << c.definition; // 2 mm
            EXPECT_NEAR(place.longitude, c.place.longitude, 2e-8);
            EXPECT_NEAR(place.height, c.place.height, 2e-3);
        }
    }
    // Of a site: its own origin lies at the translation, and its unit is `scale` metres.
    const OutCoordSystem local(CoordSystem::localAt({10.0, 20.0, 0.0}));
    GeoPosition place;
    ASSERT_TRUE(out2wgs84(local, {2.0, turned, {0, 0, 5}}, turned.transpose().col(2) * 4.0, place));
    EXPECT_NEAR(place.height, 13.0, 1e-6);
    EXPECT_NEAR(place.latitude, 10.0, 1e-9);
}

TEST(OutCoordSystem, addsTheProcessingOrigin) {
    const OutCoordSystem out(CoordSystem(), {100, 200, 300});
    EXPECT_EQ(out.proc2out({1, 2, 3}), Vector3d(101, 202, 303));
    EXPECT_EQ(out.referencePosition(), Vector3d(100, 200, 300));
    EXPECT_EQ(OutCoordSystem(CoordSystem(), {1, 1, 1}, {5, 6, 7}).referencePosition(),
              Vector3d(5, 6, 7));
}

struct ConvergenceCase {
    int epsg;
    double latitude;
    double longitude;
    double centralMeridian;
    double sign; ///< -1: x points west and y south
};

TEST(TangentAxes, pointToTrueNorthOfAGrid) {
    for (const ConvergenceCase& c : {ConvergenceCase{32632, 47.0, 6.2, 9.0, 1.0},
                                     {32617, 43.6, -79.4, -81.0, 1.0},
                                     {2193, -45.0, 168.0, 173.0, 1.0},
                                     {32632, 47.0, 9.0, 9.0, 1.0},
                                     {2053, -29.0, 29.5, 29.0, -1.0}}) {
        const CoordSystem system = CoordSystem::fromEpsg(c.epsg);
        const Vector3d position = positionIn(system, {c.latitude, c.longitude, 100.0});
        Vector3d north;
        Vector3d east;
        Vector3d up;
        ASSERT_TRUE(system.getTangentAxes(position, north, east, up));
        // Meridian convergence on the sphere; the ellipsoid adds 0.002 degrees at the most.
        const double angle = std::atan(std::tan((c.longitude - c.centralMeridian) * kDegree) *
                                       std::sin(c.latitude * kDegree));
        const Vector3d expected(-std::sin(angle), std::cos(angle), 0.0);
        expectNear(north, c.sign * expected, 4e-5);
        expectNear(east, north.cross(up), 1e-12);
        expectNear(up, Vector3d::UnitZ(), 1e-12);
    }
}

TEST(TangentAxes, ofLocalAndGeocentricAxes) {
    Vector3d north;
    Vector3d east;
    Vector3d up;
    for (const CoordSystem& local : {CoordSystem(), CoordSystem::localAt({47.0, 8.0, 0.0})}) {
        ASSERT_TRUE(local.getTangentAxes({7, 8, 9}, north, east, up));
        EXPECT_EQ(north, Vector3d::UnitY());
        EXPECT_EQ(east, Vector3d::UnitX());
        EXPECT_EQ(up, Vector3d::UnitZ());
    }
    const CoordSystem geocentric = CoordSystem::fromEpsg(4978);
    const double lat = 35.0 * kDegree;
    const double lon = 139.0 * kDegree;
    ASSERT_TRUE(
        geocentric.getTangentAxes(positionIn(geocentric, {35.0, 139.0, 40.0}), north, east, up));
    constexpr double kTolerance = 1e-8;
    expectNear(north,
               {-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon), std::cos(lat)},
               kTolerance);
    expectNear(east, {-std::sin(lon), std::cos(lon), 0.0}, kTolerance);
    expectNear(up,
               {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)},
               kTolerance);
}

TEST(TangentAxes, areNotThereForAnglesPolesAndNoPlace) {
    Vector3d axis = Vector3d::Zero();
    EXPECT_FALSE(CoordSystem::fromEpsg(4326).getTangentAxes({8, 47, 0}, axis, axis, axis));
    EXPECT_FALSE(CoordSystem().getTangentAxes({kNan, 0, 0}, axis, axis, axis));
    const CoordSystem polar = CoordSystem::fromEpsg(32661);
    EXPECT_FALSE(polar.getTangentAxes(positionIn(polar, {90.0, 0.0, 0.0}), axis, axis, axis));
    EXPECT_EQ(axis, Vector3d::Zero());
}

struct AttitudeCase {
    Vector3d yawPitchRoll;
    Vector3d forward; ///< in (east, north, up)
    Vector3d top;
};

TEST(YawPitchRoll, turnTheBodyAsAPilotSaysIt) {
    const double s = std::sin(10.0 * kDegree);
    const double c = std::cos(10.0 * kDegree);
    const AttitudeCase cases[] = {
        {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}},
        {{90, 0, 0}, {1, 0, 0}, {0, 0, 1}},
        {{0, 10, 0}, {0, c, s}, {0, -s, c}}, // nose up: the top leans back
        {{0, 0, 10}, {0, 1, 0}, {s, 0, c}},  // right side down: the top leans right
        {{90, 10, 0}, {c, 0, s}, {-s, 0, c}},
        {{90, 0, 10}, {1, 0, 0}, {0, -s, c}},
        {{-90, 0, 10}, {-1, 0, 0}, {0, s, c}},
        {{0, 10, 90}, {0, c, s}, {1, 0, 0}}, // pitch about the right wing as it was before the roll
    };
    const OutCoordSystem local;
    for (const AttitudeCase& k : cases) {
        const auto rotation = RotationMatrixFromYawPitchRoll(k.yawPitchRoll, {0, 0, 0}, local);
        ASSERT_TRUE(rotation.has_value());
        expectNear(*rotation * Vector3d(1, 0, 0), k.forward, 1e-12);
        expectNear(*rotation * Vector3d(0, 0, -1), k.top, 1e-12);
        EXPECT_NEAR(rotation->determinant(), 1.0, 1e-12);
    }
}

TEST(YawPitchRoll, areCountedFromTrueNorthOfAGrid) {
    const OutCoordSystem grid(CoordSystem::fromEpsg(2193));
    const Vector3d position = positionIn(grid, {-45.0, 168.0, 300.0});
    const Vector3d further = positionIn(grid, {-44.999, 168.0, 300.0});
    const auto rotation = RotationMatrixFromYawPitchRoll({0, 0, 0}, position, grid);
    ASSERT_TRUE(rotation.has_value());
    expectNear(*rotation * Vector3d(1, 0, 0), (further - position).normalized(), 1e-5);
    expectNear(*rotation * Vector3d(0, 0, -1), {0, 0, 1}, 1e-12);
    EXPECT_FALSE(RotationMatrixFromYawPitchRoll({0, kNan, 0}, position, grid).has_value());
    const OutCoordSystem degrees(CoordSystem::fromEpsg(4326));
    EXPECT_FALSE(RotationMatrixFromYawPitchRoll({0, 0, 0}, {8, 47, 0}, degrees).has_value());
}

TEST(RotationMatrix, isOmegaThenPhiThenKappa) {
    const double omega = 0.3;
    const double phi = -0.2;
    const double kappa = 1.1;
    const double so = std::sin(omega);
    const double co = std::cos(omega);
    const double sp = std::sin(phi);
    const double cp = std::cos(phi);
    const double sk = std::sin(kappa);
    const double ck = std::cos(kappa);
    Eigen::Matrix3d expected;          // written out, as textbooks of photogrammetry have it
    expected << cp * ck, -cp * sk, sp, //
        co * sk + so * sp * ck, co * ck - so * sp * sk, -so * cp, //
        so * sk - co * sp * ck, so * ck + co * sp * sk, co * cp;
    RotationMatrix rotation;
    EXPECT_EQ(rotation.matrix(), Eigen::Matrix3d::Identity());
    rotation.setOmegaPhiKappaRelative(omega, phi, kappa);
    EXPECT_LE((rotation.matrix() - expected).cwiseAbs().maxCoeff(), 1e-12);
}

} // namespace
} // namespace tessik::geo
