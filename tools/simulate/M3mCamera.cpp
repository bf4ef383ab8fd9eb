#include "simulate/M3mCamera.h"

#include "simulate/DjiTags.h"
#include "simulate/TagText.h"

#include <cstdio>

namespace tessik::simulate {
namespace {

constexpr double kM3mDark = 3200.0;
/// A large pixel, so that the darkest material in a corner keeps clear of the dark level.
constexpr Sensor kM3mSensor = {1.0, M3mCamera::kClip, 0.625, 3.0, 2.0, {}};

constexpr std::array<double, M3mCamera::kBandCount> kM3mAdjustment = {
    1.018204, 1.347515, 0.936742, 1.004189};

/// Over r as a share of the half diagonal. On the camera's own 2592 x 1944 pixels that is 1.09 at
/// 400 px, 1.72 at 1200 px, and 3.60 in the corners.
constexpr std::array<double, 6> kM3mCorrection = {
    0.02, 1.540859565, -0.1, -2.245930429, 0.3, 3.085070864};
/// Of the correction's centre from the image's, as a share of the width and height.
constexpr std::array<std::pair<double, double>, M3mCamera::kBandCount> kM3mCenterShift = {
    {{0.004, -0.006}, {-0.007, 0.003}, {0.005, 0.008}, {-0.002, -0.004}}};

/// What the light sensor's channels state for the same light, against the channel of NIR.
constexpr std::array<double, M3mCamera::kBandCount> kChannel = {0.82, 0.91, 1.07, 1.0};

constexpr std::uint64_t kM3mGainPurpose = 0x3396a1;

} // namespace

M3mCamera::M3mCamera(const CameraOptions& options) : DjiCamera(options, modelOf(options)) {}

DjiCamera::Model M3mCamera::modelOf(const CameraOptions& options) {
    Model model{{"M3M", "1000004", 2.0, kM3mDark}, kM3mSensor, 3.0e8, 9000.0, {}};
    for (std::size_t b = 0; b < kBandCount; ++b) {
        const auto& [shiftX, shiftY] = kM3mCenterShift[b];
        model.optics.push_back(
            opticsOf(options, kM3mAdjustment[b], kM3mCorrection, shiftX, shiftY));
    }
    return model;
}

const std::vector<Band>& M3mCamera::bands() const {
    static const std::vector<Band> bands = {{"Green", {560.0, 32.0}},
                                            {"Red", {650.0, 32.0}},
                                            {"RedEdge", {730.0, 32.0}},
                                            {"NIR", {860.0, 52.0}}};
    return bands;
}

std::string M3mCamera::fileName(std::size_t capture, std::size_t band) const {
    constexpr std::array<const char*, kBandCount> kSuffixes = {"G", "R", "RE", "NIR"};
    std::array<char, 60> text{};
    // Day and time are those of the flight's beginning.
    std::snprintf(text.data(),
                  text.size(),
                  "DJI_20240621190000_%04zu_MS_%s.TIF",
                  capture + 1,
                  kSuffixes.at(band));
    return text.data();
}

DjiExposure M3mCamera::amplification(const Shot& shot) const {
    Random random({options().seed, kM3mGainPurpose, shot.capture, shot.band});
    const double thousandths = 970.0 + random.below(61);
    return {1, thousandths / 1000.0, 100};
}

std::vector<exif::NewTag> M3mCamera::ownTags(const Shot& shot) const {
    const double raw = model().perIrradiance; // for 1 W/m2/nm in NIR
    std::string channels;
    for (std::size_t b = 0; b < shot.readings.size(); ++b) {
        channels += fixed(raw * kChannel[b] * shot.readings[b], 3) + " ";
    }
    std::vector<exif::NewTag> tags = {
        {"Xmp.drone-dji.BlackLevel", {number(kM3mDark)}},
        {"Xmp.drone-dji.LS_status", {"2"}},
        {"Xmp.drone-dji.RawData", {channels}},
        {"Xmp.drone-dji.CalibratedHMatrix", {kIdentityMatrix}},
        {"Xmp.Camera.SunSensor", {fixed(raw * kChannel[shot.band] * shot.reading.irradiance, 3)}}};
    addTime(shot.station.microseconds, tags);
    addSatelliteTime(shot.station.microseconds, tags);
    return tags;
}

} // namespace tessik::simulate
