#include "platform/astro/Astro.h"

#include "platform/math/Angle.h"

#include <erfa.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace tessik::astro {
namespace {

constexpr double kDayZero = 2415020.0; ///< Julian date of the day count's zero
constexpr double kWavelength = 0.55;   ///< um

constexpr std::array<Object, 9> kBuiltIn = {{{"Mercury"},
                                             {"Venus"},
                                             {"Mars"},
                                             {"Jupiter"},
                                             {"Saturn"},
                                             {"Uranus"},
                                             {"Neptune"},
                                             {"Pluto"},
                                             {"Sun"}}};

/// Refraction low in the sky, where series in tan(zenith distance) diverge.
/// Source: T. Saemundsson, Atmospheric refraction, Sky and Telescope 72, 1986, p. 70; 0.1 minutes
/// of arc, by comparison with G. G. Bennett, Journal of Navigation 35, 1982.
/// @param altitude without refraction, rad, above -2 degrees @return rad
double lowRefraction(double altitude, const Observer& observer) {
    const double h = altitude / kDegree;
    const double minutes = 1.02 / std::tan((h + 10.3 / (h + 5.11)) * kDegree);
    return minutes / 60.0 * kDegree * (observer.pressure / 1010.0) *
           (283.0 / (273.0 + observer.temperature));
}

/// Altitude with refraction. A series in tan(zenith distance) from 10 degrees up, the formula for
/// low altitudes below 5, a mixture between them. Below -1 degree, where nothing is seen, what is
/// added fades out to -5.
/// @param refracted what the series gives
double observedAltitude(double altitude, double refracted, const Observer& observer) {
    constexpr double kSeriesFrom = 10.0 * kDegree;
    constexpr double kLowUpTo = 5.0 * kDegree;
    constexpr double kFadesFrom = -1.0 * kDegree;
    constexpr double kFadesTo = -5.0 * kDegree;
    const double series = std::clamp((altitude - kLowUpTo) / (kSeriesFrom - kLowUpTo), 0.0, 1.0);
    const double low = lowRefraction(std::max(altitude, kFadesFrom), observer) *
                       std::clamp((altitude - kFadesTo) / (kFadesFrom - kFadesTo), 0.0, 1.0);
    return altitude + series * (refracted - altitude) + (1.0 - series) * low;
}

/// Azimuth and zenith distance as the observer sees them, refracted by the series.
struct Horizon {
    double azimuth;
    double zenithDistance;
};

Horizon horizonOf(double rightAscension, double declination, eraASTROM& astrom) {
    Horizon horizon{};
    double hourAngle = 0.0;
    double observedDeclination = 0.0;
    double observedRightAscension = 0.0;
    eraAtioq(rightAscension,
             declination,
             &astrom,
             &horizon.azimuth,
             &horizon.zenithDistance,
             &hourAngle,
             &observedDeclination,
             &observedRightAscension);
    return horizon;
}

/// A moment on the time scales in use, each in two parts.
struct Moment {
    double ut1 = 0.0;
    double ut2 = 0.0;
    double tt1 = 0.0;
    double tt2 = 0.0;
};

/// UT1 is taken for UTC: it is never off by more than 0.9 s, 0.004 degrees of the sun's way. A
/// positive status says that the date is outside the table of leap seconds; the nearest is taken.
std::optional<Moment> momentOf(double date) {
    Moment moment;
    double tai1 = 0.0;
    double tai2 = 0.0;
    const bool isKnown = eraUtctai(kDayZero, date, &tai1, &tai2) >= 0 &&
                         eraTaitt(tai1, tai2, &moment.tt1, &moment.tt2) >= 0 &&
                         eraUtcut1(kDayZero, date, 0.0, &moment.ut1, &moment.ut2) >= 0;
    return isKnown ? std::optional(moment) : std::nullopt;
}

/// Earth and Sun from the barycentre: position (au) and velocity (au per day).
struct Ephemeris {
    double earthFromSun[2][3];
    double earth[2][3];
};

/// What the observer's place and motion do to directions; no refraction. The nutation is of 77
/// terms, IAU 2000B (D. D. McCarthy, B. J. Luzum, Celestial Mechanics and Dynamical Astronomy 85,
/// 2003), right to 0.001 seconds of arc and much faster than the whole series.
eraASTROM placeOf(const Observer& observer, const Moment& moment, Ephemeris& ephemeris) {
    double precession[3][3];
    double x = 0.0;
    double y = 0.0;
    eraPnm00b(moment.tt1, moment.tt2, precession);
    eraBpn2xy(precession, &x, &y);
    eraASTROM astrom;
    eraApco(moment.tt1,
            moment.tt2,
            ephemeris.earth,
            ephemeris.earthFromSun[0],
            x,
            y,
            eraS06(moment.tt1, moment.tt2, x, y),
            eraEra00(moment.ut1, moment.ut2),
            observer.longitude,
            observer.latitude,
            observer.height,
            0.0,
            0.0,
            eraSp00(moment.tt1, moment.tt2),
            0.0,
            0.0,
            &astrom);
    return astrom;
}

/// Direction to the Sun in the intermediate system of date (right ascension and declination, rad):
/// from the observer, not from the earth's centre, and turned by aberration. Light bends only at
/// the Sun's own limb, so deflection has no part in it.
void sunDirection(const Ephemeris& ephemeris, eraASTROM& astrom, double& ra, double& dec) {
    double fromObserver[3];
    for (int i = 0; i < 3; ++i) {
        // The Sun moves by 0.01 seconds of arc while its light is on the way.
        fromObserver[i] = ephemeris.earth[0][i] - ephemeris.earthFromSun[0][i] - astrom.eb[i];
    }
    double distance = 0.0;
    double natural[3];
    eraPn(fromObserver, &distance, natural);
    double proper[3];
    eraAb(natural, astrom.v, distance, astrom.bm1, proper);
    double intermediate[3];
    eraRxp(astrom.bpn, proper, intermediate);
    eraC2s(intermediate, &ra, &dec);
}

bool isFinite(const Observer& observer) {
    return std::isfinite(observer.date) && std::isfinite(observer.latitude) &&
           std::isfinite(observer.longitude) && std::isfinite(observer.height) &&
           std::isfinite(observer.temperature) && std::isfinite(observer.pressure);
}

} // namespace

int getBuiltInObjs(const Object** objects) {
    *objects = kBuiltIn.data();
    return static_cast<int>(kBuiltIn.size());
}

void cal_mjd(int month, double day, int year, double* mjd) {
    double zero = 0.0;
    double modified = 0.0; // from 1858-11-17 0 h
    const double whole = std::floor(day);
    const bool isKnown = eraCal2jd(year, month, 1, &zero, &modified) == 0;
    *mjd = isKnown ? (zero - kDayZero) + modified + (whole - 1.0) + (day - whole)
                   : std::numeric_limits<double>::quiet_NaN();
}

int obj_cir(const Observer* observer, Object* object) {
    constexpr int kRefused = -1;
    if (object->name != kBuiltIn[kSun].name || !isFinite(*observer)) {
        return kRefused;
    }
    const std::optional<Moment> moment = momentOf(observer->date);
    if (!moment) {
        return kRefused;
    }
    Ephemeris ephemeris{};
    eraEpv00(moment->tt1, moment->tt2, ephemeris.earthFromSun, ephemeris.earth);
    eraASTROM astrom = placeOf(*observer, *moment, ephemeris);
    double rightAscension = 0.0;
    double declination = 0.0;
    sunDirection(ephemeris, astrom, rightAscension, declination);
    constexpr double kQuarter = 90.0 * kDegree;
    const double airless = kQuarter - horizonOf(rightAscension, declination, astrom).zenithDistance;
    eraRefco(
        observer->pressure, observer->temperature, 0.0, kWavelength, &astrom.refa, &astrom.refb);
    const Horizon refracted = horizonOf(rightAscension, declination, astrom);
    object->azimuth = static_cast<float>(refracted.azimuth);
    object->altitude = static_cast<float>(
        observedAltitude(airless, kQuarter - refracted.zenithDistance, *observer));
    return 0;
}

std::optional<double> sunElevation(double time, double latitude, double longitude) {
    constexpr double kUnixEpoch = 25567.5; // 1970-01-01 00:00 in the day count
    constexpr double kSecondsPerDay = 86400.0;
    Observer observer;
    observer.date = kUnixEpoch + time / kSecondsPerDay;
    observer.latitude = latitude;
    observer.longitude = longitude;
    observer.temperature = 15.0;
    observer.pressure = 1010.0;
    const Object* objects = nullptr;
    getBuiltInObjs(&objects);
    Object sun = objects[kSun];
    if (obj_cir(&observer, &sun) != 0) {
        return std::nullopt;
    }
    return static_cast<double>(sun.altitude);
}

} // namespace tessik::astro
