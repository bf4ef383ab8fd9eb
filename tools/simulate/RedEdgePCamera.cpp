#include "platform/math/Angle.h"
#include "simulate/MicaSenseCamera.h"
#include "simulate/Sun.h"
#include "simulate/TagText.h"
#include "simulate/Vignetting.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace tessik::simulate {
namespace {

/// Samples of 12 bits, shifted left by 4; the last of them never occurs.
constexpr Sensor kRedEdgePSensor = {
    16.0, 65504.0F, 16.0, 3.0, 0.4, {0.0F, 65504.0F, 20000.0F, 3840.0F}};

/// Some 10 % of the shortest exposures.
constexpr std::array<double, 5> kRedEdgePShutterSeconds = {
    1.40e-5, 1.55e-5, 2.10e-5, 3.30e-5, 2.40e-5};
constexpr std::array<double, 5> kRedEdgePShutterShare = {2.0e-3, 1.6e-3, 2.3e-3, 1.9e-3, 1.5e-3};

constexpr std::array<double, 5> kRedEdgePA1 = {2.1143926070548122e-4,
                                               2.3071862490123475e-4,
                                               2.9026418803517761e-4,
                                               3.5882714126903554e-4,
                                               3.1305962407716289e-4};

constexpr double kLowestDark = 3828.0;
constexpr double kHighestDark = 3847.0;
constexpr double kNoDark = 3840.0; ///< the one in between that samples can have

struct FallOffTerm {
    int powerOfX;
    int powerOfY;
    double coefficient;
};
/// Fall-off over x = column / width and y = row / height: 0 near the middle, 0.46 to 0.50 in the
/// corners, different in each. Each band has its own share of it.
constexpr std::array<FallOffTerm, 21> kRedEdgePFallOff = {{
    {0, 0, 0.4821949712},  {1, 0, -0.8139310538}, {0, 1, -0.4873508496}, {2, 0, 0.02450313098},
    {1, 1, -1.231628802},  {0, 2, 0.02732348386}, {3, 0, 1.545434882},   {2, 1, 1.244852143},
    {1, 2, 1.223870033},   {0, 3, 0.8562984637},  {4, 0, -0.4352686159}, {3, 1, -0.05602417357},
    {2, 2, -1.160107201},  {1, 3, -0.0791531617}, {0, 4, -0.4910625942}, {5, 0, -0.3029333143},
    {4, 1, 0.1925320192},  {3, 2, -0.3176880009}, {2, 3, 0.2671559728},  {1, 4, -0.07273801627},
    {0, 5, 0.07188749549},
}};
constexpr std::array<double, 5> kRedEdgePFallOffOfBand = {0.97, 1.00, 1.03, 1.09, 1.06};

constexpr std::uint64_t kRedEdgePDarkPurpose = 0xda4c;
constexpr std::uint64_t kNanosecondPurpose = 0x4a40;

PlanePolynomial redEdgePVignetting(std::size_t band) {
    PlanePolynomial polynomial;
    for (const auto& [powerOfX, powerOfY, coefficient] : kRedEdgePFallOff) {
        const double whole = powerOfX + powerOfY == 0 ? 1.0 : 0.0;
        polynomial.powers.emplace_back(powerOfX, powerOfY);
        polynomial.coefficients.push_back(whole - kRedEdgePFallOffOfBand[band] * coefficient);
    }
    return polynomial;
}

/// The number of nanoseconds, without leading zeros. If it has so few digits that readers would
/// take it for a decimal fraction, it is written as one.
std::string nanoseconds(const Shot& shot, std::uint64_t seed) {
    constexpr std::int64_t kFewest = 10000000;
    const std::int64_t micro = shot.station.microseconds % 1000000;
    const std::int64_t nano =
        1000 * micro + Random({seed, kNanosecondPurpose, shot.capture}).below(1000);
    return nano < kFewest ? sixDigits(micro) : std::to_string(nano);
}

constexpr double kMicrowattPerCm2 = 100.0; ///< in a W/m2

struct SkyLight {
    double direct = 0.0;    ///< on a surface that faces the sun, W/m2/nm
    double scattered = 0.0; ///< on a level one, W/m2/nm
    SunDirection sun;
};

/// Where the sun is simulated, the sensor tells the direct from the scattered light.
SkyLight sunnyLight(const SunView& view) {
    return {view.statedDirect,
            view.statedScattered,
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

/// What the second generation of the light sensor adds to a file: the reading as it was measured,
/// tilted, in uW/cm2/nm; the direct light on a surface that faces the sun and the scattered light;
/// from these and the sun's elevation what a level surface receives; and the sensor's pose.
std::vector<exif::NewTag> dls2Tags(const Band& band, const Shot& shot) {
    const LightReading& reading = shot.reading;
    const SkyLight light = reading.sun ? sunnyLight(*reading.sun) : cloudyLight(band, shot);
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

std::array<double, 4> redEdgePDark(const CameraOptions& options, const Shot& shot) {
    Random random({options.seed, kRedEdgePDarkPurpose, shot.capture, shot.band});
    constexpr auto kChoices = static_cast<std::uint32_t>(kHighestDark - kLowestDark);
    const double drawn = kLowestDark + random.below(kChoices);
    const double level = drawn < kNoDark ? drawn : drawn + 1.0;
    return {level, level, level, level};
}

std::vector<exif::NewTag>
redEdgePTags(const CameraOptions& options, const Band& band, const Shot& shot) {
    const PlanePolynomial vignetting = redEdgePVignetting(shot.band);
    std::vector<exif::NewTag> tags = {
        {"Exif.Image.BlackLevelRepeatDim", {"1", "1"}},
        {"Exif.Image.BlackLevel", {number(redEdgePDark(options, shot).front())}},
        {"Exif.Photo.SubSecTime", {nanoseconds(shot, options.seed)}},
        {"Xmp.Camera.VignettingPolynomial2DName", powers(vignetting)},
        {"Xmp.Camera.VignettingPolynomial2D", numbers(vignetting.coefficients)}};
    const std::vector<exif::NewTag> light = dls2Tags(band, shot);
    tags.insert(tags.end(), light.begin(), light.end());
    return tags;
}

} // namespace

std::unique_ptr<Camera> makeRedEdgeP(const CameraOptions& options) {
    MicaSenseCamera::Model model;
    model.name = "RedEdge-P";
    model.serialNumber = "1000002";
    model.bands = {{"Blue", {475.0, 32.0}},
                   {"Green", {560.0, 27.0}},
                   {"Red", {668.0, 14.0}},
                   {"NIR", {842.0, 57.0}},
                   {"Red edge", {717.0, 12.0}}};
    for (std::size_t b = 0; b < model.bands.size(); ++b) {
        model.optics.push_back(
            {MicaSenseCamera::calibrationOf(
                 options, b, kRedEdgePA1[b], kRedEdgePShutterSeconds[b], kRedEdgePShutterShare[b]),
             valuesOf(redEdgePVignetting(b), options.width, options.height)});
    }
    model.sensor = kRedEdgePSensor;
    model.speeds = {100, 200};
    model.highestDark = kHighestDark;
    model.darkLevels = [options](const Shot& shot) { return redEdgePDark(options, shot); };
    model.ownTags = [options, bands = model.bands](const Shot& shot) {
        return redEdgePTags(options, bands[shot.band], shot);
    };
    return std::make_unique<MicaSenseCamera>(options, std::move(model));
}

} // namespace tessik::simulate
