#include "flight/target/PanelErrors.h"

#include "platform/math/Quantile.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::flight {
namespace {

using radiometry::MeasuredTarget;
using Kind = UncertaintyTerm::Kind;

/// Of a panel's stated reflectance: makers and laboratories state 1 to 3 %.
constexpr double kStatedReflectance = 0.02;
/// Of the light that falls on a panel beside that on the sensor: a panel is level within a degree
/// or two, and the person beside both takes a little of the sky.
constexpr double kLightBeside = 0.008;
/// The same between clouds, where the light changes within metres and seconds.
constexpr double kLightBetweenClouds = 0.02;
/// Of light that was read a minute or more before or after the panel, and between clouds.
constexpr double kLightAtOtherTime = 0.03;
constexpr double kOtherLightBetweenClouds = 0.05;

const RigLight* lightOf(std::uint64_t camera, const Project& project) {
    for (const RigLight& light : project.lights) {
        if (std::binary_search(light.cameras.begin(), light.cameras.end(), camera) &&
            doIrradianceCorrection(light.type)) {
            return &light;
        }
    }
    return nullptr;
}

/// Standard errors of the light that a camera's images are divided by, one a capture.
std::vector<double> errorsOf(const RigLight& light, std::uint64_t camera, std::size_t band) {
    std::vector<double> errors;
    for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
        if (light.series.bands[b].cameraId == camera && light.series.bands[b].index == band) {
            const auto column = light.standardError.col(static_cast<Eigen::Index>(b));
            errors.assign(column.begin(), column.end());
        }
    }
    return errors;
}

/// Of the light at one moment.
double errorAt(const RigLight& light, std::uint64_t camera, double time) {
    constexpr double kSame = 0.6; // s
    const std::vector<double> errors = errorsOf(light, camera, 0);
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (std::abs(light.series.captures[i].time - time) < kSame && std::isfinite(errors[i])) {
            return errors[i];
        }
    }
    return 0.0;
}

double besideError(const RigLight* light, bool isTied) {
    const bool hasClouds = light != nullptr && light->sky.state == SkyState::Broken;
    return isTied ? (hasClouds ? kOtherLightBetweenClouds : kLightAtOtherTime)
                  : (hasClouds ? kLightBetweenClouds : kLightBeside);
}

bool isTied(const MeasuredTarget& target, const std::vector<Witness>& witnesses) {
    const std::string path = target.imagePath.toStdString();
    return std::any_of(witnesses.begin(), witnesses.end(), [&path](const Witness& witness) {
        return witness.isTied && witness.path == path;
    });
}

double largestSpread(const MeasuredTarget& target) {
    double spread = 0.0;
    for (std::size_t b = 0; b < target.mean.size(); ++b) {
        spread = std::max(spread, target.standardDeviation[b] / target.mean[b]);
    }
    return spread;
}

/// What the panels of one camera say of one band.
struct PanelTerms {
    double light = 0.0;
    double spread = 0.0;
    double count = 0.0;
    double least = std::numeric_limits<double>::infinity();
    double most = 0.0;
};

PanelTerms panelTerms(std::uint64_t camera,
                      std::size_t band,
                      const Flight& flight,
                      const Project& project,
                      const RigCalibration& measured) {
    PanelTerms terms;
    for (const MeasuredTarget& target : measured.targets) {
        if (!target.isUsed || target.cameraId != camera || band >= target.mean.size()) {
            continue;
        }
        terms.count += 1.0;
        const double light =
            panelError(flight.images[target.imageIndex], target, project, measured.witnesses);
        terms.light += light * light;
        terms.spread = std::max(terms.spread, target.standardDeviation[band] / target.mean[band]);
        terms.least = std::min(terms.least, target.target.sensitivity[band]);
        terms.most = std::max(terms.most, target.target.sensitivity[band]);
    }
    terms.light = terms.count > 0.0 ? std::sqrt(terms.light) / terms.count : 0.0;
    return terms;
}

void addLight(const RigLight* light,
              std::uint64_t camera,
              std::size_t band,
              BandUncertainty& uncertainty) {
    if (light == nullptr) {
        uncertainty.notIncluded.emplace_back("changes of the light, which nothing followed");
        return;
    }
    const double jitter = median(errorsOf(*light, camera, band));
    if (std::isfinite(jitter)) {
        uncertainty.terms.push_back({light->isSteady ? "light, after its jitter was taken off"
                                                     : "jitter of the light's readings",
                                     Kind::Random,
                                     jitter});
    } else {
        uncertainty.notIncluded.emplace_back("jitter of the light's readings");
    }
}

/// Of levelling with a fraction that is off by its standard error: the range of the sensor's view
/// over a flight is what the error acts on.
void addFraction(const RigLight* light,
                 const Project& project,
                 const BandInfo& band,
                 BandUncertainty& uncertainty) {
    if (light == nullptr || !doSunAngleCorrection(light->type)) {
        return;
    }
    const auto error = project.sunlight.standardErrors.find(band);
    if (error == project.sunlight.standardErrors.end()) {
        uncertainty.notIncluded.emplace_back("the fraction of direct sunlight");
        return;
    }
    const Eigen::ArrayXXd logarithms = light->levelling.log();
    const double count = static_cast<double>(logarithms.isFinite().count());
    if (count < 1.0) {
        return;
    }
    const Eigen::ArrayXXd known = logarithms.isFinite().select(logarithms, 0.0);
    const double mean = known.sum() / count;
    const double variance = known.square().sum() / count - mean * mean;
    // The logarithm of the levelling is about in proportion to the fraction.
    uncertainty.terms.push_back({"fraction of direct sunlight",
                                 Kind::Random,
                                 error->second * std::sqrt(std::max(0.0, variance))});
}

} // namespace

double panelError(const InputImage& image,
                  const MeasuredTarget& target,
                  const Project& project,
                  const std::vector<Witness>& witnesses) {
    constexpr double kOfMean = 0.1; // what of a panel's spread remains in the mean of its surface
    const RigLight* light = lightOf(target.cameraId, project);
    const double reading =
        light == nullptr ? 0.0 : errorAt(*light, target.cameraId, image.geo.captureTime);
    const double spread = kOfMean * largestSpread(target);
    const double beside = besideError(light, isTied(target, witnesses));
    return std::sqrt(beside * beside + reading * reading + spread * spread);
}

UncertaintyByCamera uncertaintiesOf(const Flight& flight,
                                    const Project& project,
                                    const RigCalibration& measured,
                                    const SensitivityByCamera& sensitivities) {
    UncertaintyByCamera all;
    for (const auto& [camera, sensitivity] : sensitivities) {
        const bands_t& bands = flight.cameras.at(camera).bands;
        const RigLight* light = lightOf(camera, project);
        for (std::size_t b = 0; b < sensitivity.values.size(); ++b) {
            BandUncertainty uncertainty;
            const PanelTerms panel = panelTerms(camera, b, flight, project, measured);
            if (sensitivity.kind == "target" && panel.count > 0.0) {
                uncertainty.terms.push_back(
                    {"panel's stated reflectance", Kind::Systematic, kStatedReflectance});
                uncertainty.terms.push_back({"light at the panel", Kind::Systematic, panel.light});
                uncertainty.terms.push_back(
                    {"noise of a pixel as bright as the panel", Kind::Pixel, panel.spread});
                if (panel.count > 1.0 && sensitivity.course.empty()) {
                    uncertainty.terms.push_back(
                        {"disagreement of the panels",
                         Kind::Random,
                         0.5 * std::log(panel.most / panel.least) / std::sqrt(3.0)});
                }
                if (panel.count < 2.0) {
                    uncertainty.notIncluded.emplace_back(
                        "drift of camera and light sensor, which one panel does not show");
                }
            } else {
                uncertainty.notIncluded.emplace_back(
                    sensitivity.kind == "maker" ? "the maker's constant and the light sensor's own "
                                                  "calibration"
                                                : "the sensitivity that was given");
            }
            addLight(light, camera, b, uncertainty);
            addFraction(light, project, b < bands.size() ? bands[b] : BandInfo{}, uncertainty);
            all[camera].push_back(std::move(uncertainty));
        }
    }
    return all;
}

} // namespace tessik::flight
