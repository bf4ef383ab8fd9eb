// Source of the sample's formula: the maker's image processing guides, solved for the sample.
#include "simulate/DjiCamera.h"

#include "simulate/Angle.h"
#include "simulate/DjiTags.h"
#include "simulate/Scene.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kDjiExposurePurpose = 0xd177e;
constexpr std::uint64_t kDjiNoisePurpose = 0xd174015e;

} // namespace

DjiCamera::DjiCamera(const CameraOptions& options, Model model)
    : m_options(options), m_model(std::move(model)) {}

DjiCamera::Optics DjiCamera::opticsOf(const CameraOptions& options,
                                      double adjustment,
                                      const std::array<double, 6>& correction,
                                      double shiftX,
                                      double shiftY) {
    const auto width = static_cast<double>(options.width);
    const auto height = static_cast<double>(options.height);
    Optics optics;
    optics.calibration.adjustment = adjustment;
    optics.calibration.correction = {(0.5 + shiftX) * width, (0.5 + shiftY) * height, {1.0}};
    const double halfDiagonal = 0.5 * std::hypot(width, height);
    double power = halfDiagonal;
    for (const double coefficient : correction) {
        optics.calibration.correction.coefficients.push_back(coefficient / power);
        power *= halfDiagonal;
    }
    optics.brightness =
        valuesOf(optics.calibration.correction, options.width, options.height).cwiseInverse();
    return optics;
}

/// The time puts the brightest material at a level drawn for the capture.
DjiExposure DjiCamera::expose(const Shot& shot) const {
    DjiExposure exposure = amplification(shot);
    const double peak =
        drawPeak(Random({m_options.seed, kDjiExposurePurpose, shot.capture, shot.band}));
    const double radiance = Scene::kBrightest * shot.irradiance / kPi;
    const double seconds = (peak - m_model.body.dark) *
                           m_model.optics[shot.band].calibration.adjustment /
                           (m_model.perRadiance * radiance * exposure.gain);
    exposure.microseconds = std::max<std::int64_t>(1, std::llround(seconds * 1e6));
    return exposure;
}

double DjiCamera::statedIrradiance(const Shot& shot) const {
    return m_model.perIrradiance * shot.irradiance * shot.reading.error;
}

Frame DjiCamera::take(const Shot& shot, bool withDeviation) const {
    const Optics& optics = m_model.optics[shot.band];
    const DjiExposure exposure = expose(shot);
    const double seconds = static_cast<double>(exposure.microseconds) * 1e-6;
    const double perReflectance = m_model.perRadiance * shot.irradiance / kPi * exposure.gain *
                                  seconds / optics.calibration.adjustment;
    const auto fillRow = [&](Eigen::Index row, RowContent& content) {
        const float* reflectance = &shot.reflectance(row, 0);
        const float* brightness = &optics.brightness(row, 0);
        for (std::size_t x = 0; x < content.signal.size(); ++x) {
            content.dark[x] = m_model.body.dark;
            content.signal[x] = perReflectance * static_cast<double>(reflectance[x]) *
                                static_cast<double>(brightness[x]);
        }
        if (optics.clip.size() > 0) {
            const float* clip = &optics.clip(row, 0);
            std::copy(clip, clip + content.clip.size(), content.clip.begin());
        }
    };
    Frame frame;
    frame.samples.resize(m_options.height, m_options.width);
    readOut(m_model.sensor,
            exposure.gain,
            m_options.noise,
            Random({m_options.seed, kDjiNoisePurpose, shot.capture, shot.band}),
            {},
            withDeviation,
            fillRow,
            frame);
    frame.exposureSeconds = seconds;
    frame.iso = exposure.iso;
    frame.tags = djiTags(m_model.body,
                         optics.calibration,
                         exposure,
                         statedIrradiance(shot),
                         m_options.width,
                         bands()[shot.band],
                         shot);
    const std::vector<exif::NewTag> more = ownTags(shot);
    frame.tags.insert(frame.tags.end(), more.begin(), more.end());
    return frame;
}

} // namespace tessik::simulate
