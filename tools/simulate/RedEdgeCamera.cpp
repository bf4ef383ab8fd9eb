// Source of the sample's formula: the maker's radiometric calibration model, solved for the sample.
#include "simulate/RedEdgeCamera.h"

#include "simulate/Angle.h"
#include "simulate/RedEdgeTags.h"
#include "simulate/Scene.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

constexpr double kFullScale = 65536.0;
/// Brightest material, stored, as a share of full scale. With the rolling shutter's part it stays
/// some ten standard deviations below saturation, and the darkest as far above the dark level.
constexpr double kLowestPeak = 0.60;
constexpr double kHighestPeak = 0.82;

/// Samples of 12 bits, shifted left by 4; a large pixel, so that the darkest material at ISO 800
/// keeps clear of the dark level. The defective ones are dead, hot, stuck.
constexpr Sensor kSensor = {16.0, 65520.0F, 16.0, 3.0, 0.4, {0.0F, 65520.0F, 20000.0F, 4800.0F}};

/// Seconds and share that the exposure differs by from the first row to the last: some tenths of a
/// percent of a long exposure, some percents of a short one, whatever the image's height.
constexpr std::array<double, 5> kShutterSeconds = {2.4e-6, 2.0e-6, 2.8e-6, 2.2e-6, 2.6e-6};
constexpr std::array<double, 5> kShutterShare = {4.0e-3, 3.2e-3, 4.6e-3, 3.8e-3, 3.0e-3};

constexpr std::array<double, 5> kA1 = {1.4648541280593884e-4,
                                       1.5131962210884321e-4,
                                       2.4117350862153912e-4,
                                       1.7430918412360557e-4,
                                       1.9856120973451128e-4};

/// Fall-off over r as a share of the half diagonal, 30 % at 1; each band has its own part of it.
constexpr std::array<double, 6> kFallOff = {-0.02, -0.05, -0.90, 2.00, -2.00, 0.67};
constexpr std::array<double, 5> kFallOffOfBand = {0.80, 0.95, 1.10, 1.20, 1.00};
/// Of the vignetting's centre from the image's, as a share of the width and height.
constexpr std::array<std::pair<double, double>, 5> kCenterShift = {
    {{0.021, -0.012}, {-0.016, 0.018}, {0.008, 0.022}, {-0.023, -0.009}, {0.014, 0.015}}};

constexpr std::array<int, 4> kDark = {4800, 4816, 4784, 4832};
constexpr std::size_t kBadPixelCount = 8;

constexpr std::uint64_t kRedEdgeDefectPurpose = 0xbad;
constexpr std::uint64_t kRedEdgeExposurePurpose = 0x7e;
constexpr std::uint64_t kRedEdgeNoisePurpose = 0x4015e;

RedEdgeCalibration calibrationOf(std::size_t band, const RedEdgeCamera::Options& options) {
    const auto width = static_cast<double>(options.width);
    const auto height = static_cast<double>(options.height);
    RedEdgeCalibration calibration;
    calibration.a1 = kA1[band];
    calibration.a2 = kShutterSeconds[band] / height;
    calibration.a3 = kShutterShare[band] / height;
    calibration.centerX = (0.5 + kCenterShift[band].first) * width;
    calibration.centerY = (0.5 + kCenterShift[band].second) * height;
    const double halfDiagonal = 0.5 * std::sqrt(width * width + height * height);
    double power = halfDiagonal;
    for (std::size_t i = 0; i < kFallOff.size(); ++i) {
        calibration.polynomial[i] = kFallOffOfBand[band] * kFallOff[i] / power;
        power *= halfDiagonal;
    }
    for (std::size_t i = 0; i < kDark.size(); ++i) {
        calibration.dark[i] = kDark[(i + band) % kDark.size()];
    }
    calibration.badPixels = drawPixels(kBadPixelCount,
                                       options.width,
                                       options.height,
                                       Random({options.seed, kRedEdgeDefectPurpose, band}));
    return calibration;
}

BandMatrix brightnessMap(const RedEdgeCalibration& calibration,
                         const RedEdgeCamera::Options& options) {
    BandMatrix map(options.height, options.width);
    for (Eigen::Index y = 0; y < map.rows(); ++y) {
        const double dy = static_cast<double>(y) - calibration.centerY;
        for (Eigen::Index x = 0; x < map.cols(); ++x) {
            const double dx = static_cast<double>(x) - calibration.centerX;
            const double r = std::sqrt(dx * dx + dy * dy);
            double sum = 0.0;
            for (auto c = calibration.polynomial.rbegin(); c != calibration.polynomial.rend();
                 ++c) {
                sum = (sum + *c) * r;
            }
            map(y, x) = static_cast<float>(1.0 + sum);
        }
    }
    return map;
}

/// Effective exposure of a row, s.
double rowExposure(const RedEdgeCalibration& calibration, double seconds, double row) {
    return seconds + calibration.a2 * row - calibration.a3 * seconds * row;
}

} // namespace

double RedEdgeCalibration::bandSensitivity() const {
    return fNumber * fNumber / (kPi * kFullScale * a1);
}

RedEdgeCamera::RedEdgeCamera(const Options& options) : m_options(options) {
    for (std::size_t b = 0; b < kBandCount; ++b) {
        m_calibrations[b] = calibrationOf(b, options);
        m_brightness[b] = brightnessMap(m_calibrations[b], options);
    }
}

const std::vector<Band>& RedEdgeCamera::bands() const {
    static const std::vector<Band> bands = {{"Blue", {475.0, 20.0}},
                                            {"Green", {560.0, 20.0}},
                                            {"Red", {668.0, 10.0}},
                                            {"NIR", {840.0, 40.0}},
                                            {"Red edge", {717.0, 10.0}}};
    return bands;
}

std::string RedEdgeCamera::fileName(std::size_t capture, std::size_t band) const {
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "IMG_%04zu_%zu.tif", capture, band + 1);
    return name.data();
}

/// The speed goes through all that there are from capture to capture; the time puts the brightest
/// material at a level drawn for the capture.
RedEdgeExposure RedEdgeCamera::expose(const Shot& shot) const {
    constexpr std::array<int, 4> kSpeeds = {100, 400, 200, 800};
    const RedEdgeCalibration& calibration = m_calibrations[shot.band];
    Random random({m_options.seed, kRedEdgeExposurePurpose, shot.capture, shot.band});
    RedEdgeExposure exposure;
    exposure.iso = kSpeeds[(shot.capture + shot.band + m_options.seed) % kSpeeds.size()];
    const double darkest = *std::max_element(kDark.begin(), kDark.end());
    const double signal = random.uniform(kLowestPeak, kHighestPeak) * kFullScale - darkest;
    const double radiance = Scene::kBrightest * shot.irradiance / kPi;
    const double wanted = signal * calibration.a1 / (kFullScale * radiance * exposure.gain());
    const double middle = 0.5 * static_cast<double>(m_options.height);
    const double seconds = (wanted - calibration.a2 * middle) / (1.0 - calibration.a3 * middle);
    exposure.numerator = std::max<std::int64_t>(
        1, static_cast<std::int64_t>(std::floor(seconds * RedEdgeExposure::kDenominator + 0.5)));
    return exposure;
}

Frame RedEdgeCamera::take(const Shot& shot, bool withDeviation) const {
    const RedEdgeCalibration& calibration = m_calibrations[shot.band];
    const BandMatrix& brightness = m_brightness[shot.band];
    const RedEdgeExposure exposure = expose(shot);
    const double gain = exposure.gain();
    const auto fillRow = [&](Eigen::Index y, RowContent& content) {
        const double seconds = rowExposure(calibration, exposure.seconds(), static_cast<double>(y));
        const double perReflectance =
            kFullScale * shot.irradiance / kPi * gain * seconds / calibration.a1;
        const auto* dark = &calibration.dark[static_cast<std::size_t>(y % 2) * 2];
        for (std::size_t x = 0; x < content.signal.size(); ++x) {
            const auto column = static_cast<Eigen::Index>(x);
            content.dark[x] = static_cast<double>(dark[x % 2]);
            content.signal[x] = perReflectance * static_cast<double>(shot.reflectance(y, column)) *
                                static_cast<double>(brightness(y, column));
        }
    };
    Frame frame;
    frame.samples.resize(brightness.rows(), brightness.cols());
    readOut(kSensor,
            gain,
            m_options.noise,
            Random({m_options.seed, kRedEdgeNoisePurpose, shot.capture, shot.band}),
            calibration.badPixels,
            withDeviation,
            fillRow,
            frame);
    frame.exposureSeconds = exposure.seconds();
    frame.iso = exposure.iso;
    frame.tags = redEdgeTags(calibration, exposure, bands()[shot.band], shot);
    return frame;
}

} // namespace tessik::simulate
