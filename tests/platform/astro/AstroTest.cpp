#include "platform/astro/Astro.h"

#include "support/Almanac.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tessik::astro {
namespace {

using test::kDegree;

Object sun() {
    const Object* objects = nullptr;
    EXPECT_GT(getBuiltInObjs(&objects), kSun);
    return objects[kSun];
}

/// Day count of a Unix time.
double dateOf(double unixTime) {
    return unixTime / 86400.0 + 25567.5;
}

Observer observerAt(double unixTime, double latitude, double longitude, double pressure) {
    Observer observer;
    observer.date = dateOf(unixTime);
    observer.latitude = latitude;
    observer.longitude = longitude;
    observer.temperature = 10.0;
    observer.pressure = pressure;
    return observer;
}

struct DateCase {
    int month;
    double day;
    int year;
    double date;
};

TEST(Calendar, countsDaysFromNoonOfTheLastOf1899) {
    // Julian date minus 2415020; 1970-01-01 0 h is Julian date 2440587.5.
    for (const DateCase& c : {DateCase{12, 31.5, 1899, 0.0},
                              {1, 1.5, 2000, kJ2000},
                              {1, 1.0, 1970, 25567.5},
                              {2, 29.25, 2024, 45349.75},
                              {3, 1.25, 2024, 45350.75}}) {
        double date = -1.0;
        cal_mjd(c.month, c.day, c.year, &date);
        EXPECT_DOUBLE_EQ(date, c.date) << c.year << " " << c.month << " " << c.day;
    }
}

TEST(Sun, standsWhereTheAlmanacHasItWithoutAir) {
    // The almanac's 0.01 degrees, and a parallax of 0.0025.
    constexpr double kTolerance = 0.0125 * kDegree;
    for (double time = 0.0; time < 2.3e9; time += 86400.0 * 37.13) {
        for (const double latitude : {-70.0, -33.9, 0.0, 23.4, 46.5, 69.6}) {
            for (const double longitude : {-119.4, 6.6, 151.2}) {
                const Observer observer =
                    observerAt(time, latitude * kDegree, longitude * kDegree, 0.0);
                const test::AlmanacAngle expected(time, observer.latitude, observer.longitude);
                Object object = sun();
                ASSERT_EQ(obj_cir(&observer, &object), 0);
                EXPECT_NEAR(object.altitude, expected.altitude, kTolerance) << time << latitude;
                EXPECT_NEAR(
                    test::azimuthOffset(object.azimuth, expected.azimuth, expected.altitude),
                    0.0,
                    kTolerance)
                    << time << " " << latitude;
            }
        }
    }
}

TEST(Sun, isLowerForAnObserverOnTheGroundThanForOneAtTheEarthsCentre) {
    for (const double hour : {8.0, 10.0, 12.0, 15.0}) {
        Observer ground = observerAt(1600905600.0 + hour * 3600.0, 0.0, 0.0, 0.0);
        Observer centre = ground;
        centre.height = -6378137.0;
        Object fromGround = sun();
        Object fromCentre = sun();
        ASSERT_EQ(obj_cir(&ground, &fromGround), 0);
        ASSERT_EQ(obj_cir(&centre, &fromCentre), 0);
        // Half a second of arc for the turning of the ground and the sun's distance.
        EXPECT_NEAR((fromCentre.altitude - fromGround.altitude) / kDegree * 3600.0,
                    8.794 * std::cos(fromGround.altitude),
                    0.5);
    }
}

TEST(Refraction, raisesTheSunAsBennettHasIt) {
    // One morning, from below the horizon, a step of ten seconds at a time.
    constexpr double kMorning = 1600925400.0; // 2020-09-24 05:30 UTC
    double last = -90.0;
    for (double time = kMorning; time < kMorning + 5.0 * 3600.0; time += 10.0) {
        Object airless = sun();
        Object seen = sun();
        const Observer vacuum = observerAt(time, 46.5 * kDegree, 0.0, 0.0);
        const Observer air = observerAt(time, 46.5 * kDegree, 0.0, 1010.0);
        ASSERT_EQ(obj_cir(&vacuum, &airless), 0);
        ASSERT_EQ(obj_cir(&air, &seen), 0);
        const double h = seen.altitude / kDegree;
        EXPECT_GT(h, last) << "at " << time; // no step where one formula hands over to another
        last = h;
        if (h > 0.0) {
            // G. G. Bennett, The calculation of astronomical refraction in marine navigation,
            // Journal of Navigation 35, 1982, for 10 degrees Celsius and 1010 hPa.
            const double minutes = 1.0 / std::tan((h + 7.31 / (h + 4.4)) * kDegree);
            EXPECT_NEAR(h - airless.altitude / kDegree, minutes / 60.0, h < 10.0 ? 0.01 : 0.003)
                << "at altitude " << h;
        }
    }
    EXPECT_GT(last, 35.0);
}

TEST(Refraction, isGoneWellBelowTheHorizonAndGrowsWithPressure) {
    constexpr double kMidnight = 1600905600.0;
    const auto altitude = [](double time, double pressure) {
        Object object = sun();
        const Observer observer = observerAt(time, 46.5 * kDegree, 0.0, pressure);
        EXPECT_EQ(obj_cir(&observer, &object), 0);
        return object.altitude;
    };
    EXPECT_NEAR(altitude(kMidnight, 1010.0), altitude(kMidnight, 0.0), 1e-7);
    const double noon = kMidnight + 12.0 * 3600.0;
    const double full = altitude(noon, 1010.0) - altitude(noon, 0.0);
    EXPECT_NEAR(altitude(noon, 505.0) - altitude(noon, 0.0), full / 2.0, 1e-6);
}

TEST(Objects, refuseWhatCannotBeComputed) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const Observer good = observerAt(1.6e9, 0.5, 0.1, 1010.0);
    const Object* objects = nullptr;
    getBuiltInObjs(&objects);
    Object mars = objects[2];
    EXPECT_NE(obj_cir(&good, &mars), 0);
    for (double Observer::*field : {&Observer::date, &Observer::latitude, &Observer::pressure}) {
        Observer bad = good;
        bad.*field = kNan;
        Object object = sun();
        object.altitude = 9.0F;
        EXPECT_NE(obj_cir(&bad, &object), 0);
        EXPECT_EQ(object.altitude, 9.0F);
    }
    Observer stoneAge = good;
    stoneAge.date = -1e7;
    Object object = sun();
    EXPECT_NE(obj_cir(&stoneAge, &object), 0);
}

} // namespace
} // namespace tessik::astro
