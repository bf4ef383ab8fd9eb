#include "simulate/DjiCamera.h"
#include "simulate/TagText.h"

#include <cstdio>
#include <memory>

namespace tessik::simulate {
namespace {

constexpr std::size_t kM3mBandCount = 4;
constexpr double kM3mDark = 3200.0;
/// A large pixel, so that the darkest material in a corner keeps clear of the dark level.
constexpr Sensor kM3mSensor = {1.0, 65200.0F, 0.625, 3.0, 2.0, {}};

constexpr std::array<double, kM3mBandCount> kM3mAdjustment = {
    1.018204, 1.347515, 0.936742, 1.004189};

/// Over r as a share of the half diagonal. On the camera's own 2592 x 1944 pixels that is 1.09 at
/// 400 px, 1.72 at 1200 px, and 3.60 in the corners.
constexpr std::array<double, 6> kM3mCorrection = {
    0.02, 1.540859565, -0.1, -2.245930429, 0.3, 3.085070864};
/// Of the correction's centre from the image's, as a share of the width and height.
constexpr std::array<std::pair<double, double>, kM3mBandCount> kM3mCenterShift = {
    {{0.004, -0.006}, {-0.007, 0.003}, {0.005, 0.008}, {-0.002, -0.004}}};

/// What the light sensor's channels state for the same light, against the channel of NIR.
constexpr std::array<double, kM3mBandCount> kChannel = {0.82, 0.91, 1.07, 1.0};

/// For 1 W/m2/nm; of the light sensor, that in NIR.
constexpr double kM3mPerIrradiance = 9000.0;

constexpr std::uint64_t kM3mGainPurpose = 0x3396a1;

std::string m3mFileName(std::size_t capture, std::size_t band) {
    constexpr std::array<const char*, kM3mBandCount> kSuffixes = {"G", "R", "RE", "NIR"};
    std::array<char, 60> text{};
    // Day and time are those of the flight's beginning.
    std::snprintf(text.data(),
                  text.size(),
                  "DJI_20240621190000_%04zu_MS_%s.TIF",
                  capture + 1,
                  kSuffixes.at(band));
    return text.data();
}

std::vector<exif::NewTag> m3mTags(const Shot& shot) {
    std::string channels;
    for (std::size_t b = 0; b < shot.readings.size(); ++b) {
        channels += fixed(kM3mPerIrradiance * kChannel[b] * shot.readings[b], 3) + " ";
    }
    const double reading = kM3mPerIrradiance * kChannel[shot.band] * shot.reading.irradiance;
    std::vector<exif::NewTag> tags = {{"Xmp.drone-dji.BlackLevel", {number(kM3mDark)}},
                                      {"Xmp.drone-dji.LS_status", {"2"}},
                                      {"Xmp.drone-dji.RawData", {channels}},
                                      {"Xmp.drone-dji.CalibratedHMatrix", {kIdentityMatrix}},
                                      {"Xmp.Camera.SunSensor", {fixed(reading, 3)}}};
    addTime(shot.station.microseconds, tags);
    addSatelliteTime(shot.station.microseconds, tags);
    return tags;
}

} // namespace

std::unique_ptr<Camera> makeM3m(const CameraOptions& options) {
    DjiCamera::Model model;
    model.name = "Mavic 3 Multispectral";
    model.body = {"M3M", "1000004", 2.0, kM3mDark};
    model.bands = {{"Green", {560.0, 32.0}},
                   {"Red", {650.0, 32.0}},
                   {"RedEdge", {730.0, 32.0}},
                   {"NIR", {860.0, 52.0}}};
    for (std::size_t b = 0; b < kM3mBandCount; ++b) {
        model.optics.push_back(
            DjiCamera::opticsOf(options, kM3mAdjustment[b], kM3mCorrection, kM3mCenterShift[b]));
    }
    model.sensor = kM3mSensor;
    model.perRadiance = 3.0e8;
    model.perIrradiance = kM3mPerIrradiance;
    model.fileName = m3mFileName;
    model.amplification = [seed = options.seed](const Shot& shot) -> DjiExposure {
        Random random({seed, kM3mGainPurpose, shot.capture, shot.band});
        const double thousandths = 970.0 + random.below(61);
        return {1, thousandths / 1000.0, 100};
    };
    model.ownTags = [](const Shot& shot, double /*irradiance*/) { return m3mTags(shot); };
    return std::make_unique<DjiCamera>(options, std::move(model));
}

} // namespace tessik::simulate
