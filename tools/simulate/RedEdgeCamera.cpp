#include "simulate/MicaSenseCamera.h"
#include "simulate/TagText.h"
#include "simulate/Vignetting.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace tessik::simulate {
namespace {

/// Samples of 12 bits, shifted left by 4; a large pixel, so that the darkest material at ISO 800
/// keeps clear of the dark level. The defective ones are dead, hot, stuck.
constexpr Sensor kRedEdgeSensor = {
    16.0, 65520.0F, 16.0, 3.0, 0.4, {0.0F, 65520.0F, 20000.0F, 4800.0F}};

/// Some tenths of a percent of a long exposure, some percents of a short one, whatever the image's
/// height.
constexpr std::array<double, 5> kShutterSeconds = {2.4e-6, 2.0e-6, 2.8e-6, 2.2e-6, 2.6e-6};
constexpr std::array<double, 5> kShutterShare = {4.0e-3, 3.2e-3, 4.6e-3, 3.8e-3, 3.0e-3};

constexpr std::array<double, 5> kRedEdgeA1 = {1.4648541280593884e-4,
                                              1.5131962210884321e-4,
                                              2.4117350862153912e-4,
                                              1.7430918412360557e-4,
                                              1.9856120973451128e-4};

/// Fall-off over r as a share of the half diagonal, 30 % at 1; each band has its own part of it.
constexpr std::array<double, 6> kRedEdgeFallOff = {-0.02, -0.05, -0.90, 2.00, -2.00, 0.67};
constexpr std::array<double, 5> kRedEdgeFallOffOfBand = {0.80, 0.95, 1.10, 1.20, 1.00};
/// Of the vignetting's centre from the image's, as a share of the width and height.
constexpr std::array<std::pair<double, double>, 5> kCenterShift = {
    {{0.021, -0.012}, {-0.016, 0.018}, {0.008, 0.022}, {-0.023, -0.009}, {0.014, 0.015}}};

constexpr std::array<double, 4> kRedEdgeDark = {4800.0, 4816.0, 4784.0, 4832.0};

RadialPolynomial redEdgeVignetting(std::size_t band, const CameraOptions& options) {
    const auto width = static_cast<double>(options.width);
    const auto height = static_cast<double>(options.height);
    std::array<double, 6> fallOff = kRedEdgeFallOff;
    for (double& coefficient : fallOff) {
        coefficient *= kRedEdgeFallOffOfBand[band];
    }
    return radialPolynomial((0.5 + kCenterShift[band].first) * width,
                            (0.5 + kCenterShift[band].second) * height,
                            0.5 * std::sqrt(width * width + height * height),
                            fallOff);
}

/// Each band begins with another of the four.
std::array<double, 4> redEdgeDark(const Shot& shot) {
    std::array<double, 4> levels{};
    for (std::size_t i = 0; i < levels.size(); ++i) {
        levels[i] = kRedEdgeDark[(i + shot.band) % kRedEdgeDark.size()];
    }
    return levels;
}

std::vector<exif::NewTag> redEdgeTags(const CameraOptions& options, const Shot& shot) {
    const std::array<double, 4> dark = redEdgeDark(shot);
    const auto [centerX, centerY, coefficients] = redEdgeVignetting(shot.band, options);
    return {{"Exif.Image.BlackLevelRepeatDim", {"2", "2"}},
            {"Exif.Image.BlackLevel", numbers({dark.begin(), dark.end()})},
            subSecondTime(shot.station.microseconds),
            {"Xmp.Camera.VignettingCenter", numbers({centerX, centerY})},
            // The first one, 1, is not written.
            {"Xmp.Camera.VignettingPolynomial",
             numbers({coefficients.begin() + 1, coefficients.end()})},
            {"Xmp.Camera.Irradiance", {number(shot.reading.irradiance)}}};
}

} // namespace

std::unique_ptr<Camera> makeRedEdge(const CameraOptions& options) {
    MicaSenseCamera::Model model;
    model.name = "RedEdge";
    model.serialNumber = "1000001";
    model.bands = {{"Blue", {475.0, 20.0}},
                   {"Green", {560.0, 20.0}},
                   {"Red", {668.0, 10.0}},
                   {"NIR", {840.0, 40.0}},
                   {"Red edge", {717.0, 10.0}}};
    for (std::size_t b = 0; b < model.bands.size(); ++b) {
        model.optics.push_back(
            {MicaSenseCamera::calibrationOf(
                 options, b, kRedEdgeA1[b], kShutterSeconds[b], kShutterShare[b]),
             valuesOf(redEdgeVignetting(b, options), options.width, options.height)});
    }
    model.sensor = kRedEdgeSensor;
    model.speeds = {100, 400, 200, 800};
    model.highestDark = *std::max_element(kRedEdgeDark.begin(), kRedEdgeDark.end());
    model.darkLevels = redEdgeDark;
    model.ownTags = [options](const Shot& shot) { return redEdgeTags(options, shot); };
    return std::make_unique<MicaSenseCamera>(options, std::move(model));
}

} // namespace tessik::simulate
