#include "simulate/DjiCamera.h"
#include "simulate/TagText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

namespace tessik::simulate {
namespace {

/// Of the clock: Pacific daylight time.
constexpr int kUtcOffsetHours = -7;

constexpr std::size_t kP4mBandCount = 5;
constexpr double kP4mDark = 4096.0;
constexpr Sensor kP4mSensor = {64.0, 65472.0F, 40.0, 3.0, 0.3, {}};

constexpr double kTopPlateau = 65400.0;
constexpr double kPlateauFall = 0.386; ///< DN a row
constexpr double kPlateauSpread = 33.0;
constexpr double kPlateauReach = 130.0;

constexpr std::array<double, kP4mBandCount> kP4mAdjustment = {
    1.392108, 0.759547, 0.762136, 0.835013, 0.951476};

/// Over r as a share of the half diagonal: 2.0 in the corners.
constexpr std::array<double, 6> kP4mCorrection = {
    0.224951, 1.282671, -3.140595, 5.841187, -4.850710, 1.642808};
/// Of the correction's centre from the image's, as a share of the width and height.
constexpr std::array<std::pair<double, double>, kP4mBandCount> kP4mCenterShift = {
    {{0.006, -0.009}, {-0.011, 0.004}, {0.008, 0.010}, {-0.005, -0.007}, {0.0, 0.0}}};

constexpr std::uint64_t kPlateauPurpose = 0x91a7ea;

/// Where each pixel of a band clips. Limits see to it that the rounded value stays in reach, too.
BandMatrix plateauOf(std::size_t band, const CameraOptions& options) {
    Random random({options.seed, kPlateauPurpose, band});
    BandMatrix clip(options.height, options.width);
    std::vector<float> deviates(static_cast<std::size_t>(options.width));
    for (Eigen::Index row = 0; row < options.height; ++row) {
        const double level = kTopPlateau - kPlateauFall * static_cast<double>(row);
        const double step = kP4mSensor.step;
        const double lowest = std::ceil((level - kPlateauReach) / step) * step;
        const double highest = std::floor((level + kPlateauReach) / step) * step;
        random.normal(deviates);
        for (Eigen::Index column = 0; column < options.width; ++column) {
            const auto deviate = static_cast<double>(deviates[static_cast<std::size_t>(column)]);
            clip(row, column) =
                static_cast<float>(std::clamp(level + kPlateauSpread * deviate, lowest, highest));
        }
    }
    return clip;
}

/// The last digit is the band; 0 would be the colour camera's.
std::string p4mFileName(std::size_t capture, std::size_t band) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "DJI_%03zu%zu.TIF", capture + 1, band + 1);
    return text.data();
}

std::vector<exif::NewTag> p4mTags(const Shot& shot, double irradiance) {
    constexpr std::int64_t kHour = 3600LL * 1000000;
    std::vector<exif::NewTag> tags = {
        {"Exif.Image.BlackLevelRepeatDim", {"1", "1"}},
        {"Exif.Image.BlackLevel", {number(kP4mDark)}},
        {"Xmp.drone-dji.LS_type", {"1"}},
        {"Xmp.Camera.SunSensor", {fixed(irradiance, 3)}},
        // These are not the three coefficients that MicaSense writes under this name.
        {"Xmp.Camera.RadiometricCalibration",
         {fixed(kP4mAdjustment[shot.band], 6), fixed(0.0, 6), fixed(0.0, 6)}}};
    addTime(shot.station.microseconds + kUtcOffsetHours * kHour, tags);
    return tags;
}

} // namespace

std::unique_ptr<Camera> makeP4m(const CameraOptions& options) {
    DjiCamera::Model model;
    model.name = "P4 Multispectral";
    model.body = {"FC6360", "1000003", 2.2, kP4mDark};
    model.bands = {{"Blue", {450.0, 32.0}},
                   {"Green", {560.0, 32.0}},
                   {"Red", {650.0, 32.0}},
                   {"RedEdge", {730.0, 32.0}},
                   {"NIR", {840.0, 52.0}}};
    for (std::size_t b = 0; b < kP4mBandCount; ++b) {
        model.optics.push_back(
            DjiCamera::opticsOf(options, kP4mAdjustment[b], kP4mCorrection, kP4mCenterShift[b]));
        model.optics.back().clip = plateauOf(b, options);
    }
    model.sensor = kP4mSensor;
    model.perRadiance = 4.5e8;
    model.perIrradiance = 6500.0;
    model.fileName = p4mFileName;
    model.amplification = [seed = options.seed](const Shot& shot) -> DjiExposure {
        constexpr std::array<int, 3> kGains = {1, 2, 4};
        constexpr int kIso = 200;
        const int gain = kGains[(shot.capture + shot.band + seed) % kGains.size()];
        return {1, static_cast<double>(gain), kIso * gain};
    };
    model.ownTags = p4mTags;
    return std::make_unique<DjiCamera>(options, std::move(model));
}

} // namespace tessik::simulate
