#include "flight/light/Sunlight.h"

#include "flight/json/CorrectionWords.h"
#include "flight/json/Json.h"
#include "flight/light/Poses.h"
#include "platform/exif/Tags.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tessik::flight {
namespace {

using radiometry::CorrectionType;
using radiometry::SunlightFractionFitResult;

/// A fraction with a larger standard error is not better than the clear-sky model's.
constexpr double kLargestError = 0.05;

bool isSound(const SunlightFractionFitResult& fit) {
    const std::optional<double> error = standardError(fit);
    return fit.hasConverged && error && *error <= kLargestError && fit.fraction > 0.0 &&
           fit.fraction < 1.0;
}

/// The images that a fit can use.
/// @param kept where they are put if they are not all
const std::vector<InputImage>&
imagesToFit(const Flight& flight, std::vector<InputImage>& kept, Warnings& warnings) {
    const auto isUsable = [](const InputImage& image) {
        const std::vector<double>& readings = image.exif.sunIrradiance;
        return image.enabled && image.geo.position && image.geo.captureTime != 0.0 &&
               std::isfinite(image.geo.captureTime) &&
               std::all_of(
                   readings.begin(), readings.end(), [](double e) { return std::isfinite(e); });
    };
    const auto& all = flight.images;
    if (std::all_of(all.begin(), all.end(), isUsable)) {
        return all;
    }
    std::copy_if(all.begin(), all.end(), std::back_inserter(kept), isUsable);
    const auto unusable = std::count_if(all.begin(), all.end(), [&](const InputImage& image) {
        return exif::hasSunIrradiance(image.exif) && !isUsable(image);
    });
    if (unusable > 0) {
        warnings.add({},
                     "images without capture time or position, which take no part in the fit of "
                     "direct sunlight: " +
                         std::to_string(unusable));
    }
    return kept;
}

/// Empty where a fit is not sound and only sound ones are wanted.
Sunlight fitted(const FitByBand& fits, bool onlySound) {
    Sunlight sunlight;
    sunlight.model = "fit";
    for (const auto& [band, fit] : fits) {
        if (onlySound && !isSound(fit)) {
            return {};
        }
        sunlight.fractions[band] = fit.fraction;
        if (const std::optional<double> error = standardError(fit)) {
            sunlight.standardErrors[band] = *error;
        }
    }
    return sunlight;
}

/// The sun-angle type that a camera's metadata allow, for a fit that needs one.
CorrectionType sunAngleType(const Flight& flight, std::uint64_t cameraId) {
    const bool isMounted =
        std::any_of(flight.images.begin(), flight.images.end(), [cameraId](const InputImage& one) {
            return one.cameraId == cameraId && exif::hasSunIrradianceRelativeOrientation(one.exif);
        });
    return isMounted ? CorrectionType::CameraSunIrradianceAndSunAngle : kSunAngleAbsolute;
}

} // namespace

std::optional<SunlightChoice> SunlightChoice::fromText(const std::string& text) {
    if (text == "auto") {
        return SunlightChoice{Model::Auto, 0.0};
    }
    if (text == "fit") {
        return SunlightChoice{Model::Fit, 0.0};
    }
    if (text == "physical") {
        return SunlightChoice{Model::Physical, 0.0};
    }
    const std::optional<double> number = exif::parseNumber(text);
    if (number && *number >= 0.0 && *number <= 1.0) {
        return SunlightChoice{Model::Number, *number};
    }
    return std::nullopt;
}

std::string SunlightChoice::text() const {
    switch (model) {
    case Model::Auto:
        return "auto";
    case Model::Fit:
        return "fit";
    case Model::Physical:
        return "physical";
    case Model::None:
        return "none";
    case Model::Number:
        break;
    }
    return exactText(number);
}

std::optional<double> standardError(const SunlightFractionFitResult& fit) {
    if (!fit.fractionVariance || !fit.residualVariance) {
        return std::nullopt;
    }
    return std::sqrt(*fit.fractionVariance * *fit.residualVariance);
}

FitByBand fitSunlight(const Flight& flight,
                      const SettingsByCamera& settings,
                      const geo::ProjectCoordinateSystems& systems,
                      const FitOptions& options,
                      Warnings& warnings) {
    std::vector<InputImage> kept;
    return radiometry::computeDirectSunlightFraction(imagesToFit(flight, kept, warnings),
                                                     flight.cameras,
                                                     settings,
                                                     systems.output,
                                                     systems.site,
                                                     posesByCamera(flight, systems),
                                                     options.degree,
                                                     options.useSensorAngles);
}

SettingsByCamera sunAngleSettings(const Flight& flight,
                                  const std::optional<CorrectionType>& asked) {
    SettingsByCamera settings;
    for (const auto& [id, camera] : flight.cameras) {
        settings[id] = {asked.value_or(sunAngleType(flight, id))};
    }
    return settings;
}

Sunlight decideSunlight(const Flight& flight,
                        const SettingsByCamera& settings,
                        const geo::ProjectCoordinateSystems& systems,
                        const SunlightChoice& choice,
                        Warnings& warnings) {
    using Model = SunlightChoice::Model;
    if (choice.model == Model::Number) {
        Sunlight sunlight;
        sunlight.model = "given";
        for (const auto& [band, cameras] : radiometry::groupByBand(flight.cameras, settings)) {
            sunlight.fractions[band] = choice.number;
        }
        return sunlight;
    }
    if (choice.model != Model::Physical) {
        Sunlight sunlight = fitted(fitSunlight(flight, settings, systems, {}, warnings),
                                   choice.model == Model::Auto);
        if (!sunlight.fractions.empty()) {
            return sunlight;
        }
        if (choice.model == Model::Fit) {
            throw radiometry::error("the fraction of direct sunlight cannot be fitted");
        }
        warnings.add({},
                     "the readings do not determine the fraction of direct sunlight; the "
                     "clear-sky model is used");
    }
    return {radiometry::computeDirectSunlightFractionPhysicalModel(
                flight.images, flight.cameras, settings, systems.output, systems.site),
            {},
            "physical"};
}

} // namespace tessik::flight
