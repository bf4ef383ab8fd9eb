#include "simulate/Dls2Tags.h"

#include "simulate/Angle.h"
#include "simulate/Sun.h"
#include "simulate/TagText.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

constexpr double kMicrowattPerCm2 = 100.0; ///< in a W/m2

struct SkyLight {
    double direct = 0.0;    ///< on a surface that faces the sun, W/m2/nm
    double scattered = 0.0; ///< on a level one, W/m2/nm
    SunDirection sun;
};

/// What a clear sky is made of is known, and the sensor errs in both parts alike.
SkyLight clearLight(const LightReading& reading, const SunView& view) {
    const double facing = view.facingIrradiance * reading.error;
    return {view.directFraction * facing,
            (1.0 - view.directFraction) * facing,
            {view.sunAzimuthDegrees * kDegree, view.sunElevationDegrees * kDegree}};
}

/// Where only the light on the ground is known, the less there is of it compared with a clear sky,
/// the less of it is direct.
SkyLight cloudyLight(const Band& band, const Shot& shot) {
    constexpr double kScattered = 0.15; // of all light under a clear sky
    const double seconds = static_cast<double>(shot.station.microseconds) * 1e-6;
    SkyLight light;
    light.sun = sunDirection(kFlightDayUnix + seconds, positionOf(shot.station));
    const double irradiance = shot.irradiance * shot.reading.error;
    const double clearness = shot.irradiance / clearSkyIrradiance(band.info.wavelengthNm);
    const double sine = std::sin(light.sun.elevation);
    const double share =
        sine > 0.0 ? std::clamp(clearness - kScattered, 0.0, 1.0 - kScattered) : 0.0;
    light.direct = sine > 0.0 ? share * irradiance / sine : 0.0;
    light.scattered = (1.0 - share) * irradiance;
    return light;
}

} // namespace

std::vector<exif::NewTag> dls2Tags(const Band& band, const Shot& shot) {
    const LightReading& reading = shot.reading;
    const SkyLight light =
        reading.sun ? clearLight(reading, *reading.sun) : cloudyLight(band, shot);
    const double level = light.direct * std::sin(light.sun.elevation) + light.scattered;
    const std::string measured = number(kMicrowattPerCm2 * reading.irradiance);
    return {{"Xmp.Camera.Irradiance", {measured}},
            {"Xmp.DLS.Serial", {"DA00-1000002-SC"}},
            {"Xmp.DLS.CenterWavelength", {number(band.info.wavelengthNm)}},
            {"Xmp.DLS.Bandwidth", {number(band.info.fwhmNm)}},
            {"Xmp.DLS.SpectralIrradiance", {measured}},
            {"Xmp.DLS.HorizontalIrradiance", {number(kMicrowattPerCm2 * level)}},
            {"Xmp.DLS.DirectIrradiance", {number(kMicrowattPerCm2 * light.direct)}},
            {"Xmp.DLS.ScatteredIrradiance", {number(kMicrowattPerCm2 * light.scattered)}},
            {"Xmp.DLS.SolarElevation", {number(light.sun.elevation)}},
            {"Xmp.DLS.SolarAzimuth", {number(light.sun.azimuth)}},
            {"Xmp.DLS.Yaw", {number(reading.attitude.yawDegrees * kDegree)}},
            {"Xmp.DLS.Pitch", {number(reading.attitude.pitchDegrees * kDegree)}},
            {"Xmp.DLS.Roll", {number(reading.attitude.rollDegrees * kDegree)}}};
}

} // namespace tessik::simulate
