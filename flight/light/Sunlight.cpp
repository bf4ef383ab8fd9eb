#include "flight/light/Sunlight.h"

#include "flight/json/CorrectionWords.h"
#include "flight/json/Json.h"
#include "flight/light/ClearSky.h"
#include "flight/light/Poses.h"
#include "platform/exif/Tags.h"
#include "platform/geo/Conversions.h"
#include "platform/math/Angle.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"
#include "radiometry/directSunlightFraction/PhysicalModel.h"
#include "radiometry/sun/SunPosition.h"

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

/// The fraction of each band under a clear sky at the mean time and place.
/// @throws radiometry::error when time, place or sun are not known
Sunlight underClearSky(const Flight& flight,
                       const SettingsByCamera& settings,
                       const geo::ProjectCoordinateSystems& systems) {
    const double time = radiometry::calcDayTimeMean(flight.images);
    GeoPosition place;
    if (!geo::out2wgs84(systems.output, systems.site, Eigen::Vector3d::Zero(), place)) {
        throw radiometry::error("the place of the flight is not known");
    }
    const double elevation =
        radiometry::SunPositionEstimator()
            .sunAngle(time, place.latitude * kDegree, place.longitude * kDegree)
            .elevation;
    if (!(elevation > 0.0)) {
        throw radiometry::error("The sun is behind the horizon.");
    }
    Atmosphere atmosphere;
    atmosphere.pressurePa = standardPressure(place.height);
    const ClearSky sky(elevation, dayOfYear(time), atmosphere);
    Sunlight sunlight;
    sunlight.model = "clear sky";
    for (const auto& [band, cameras] : radiometry::groupByBand(flight.cameras, settings)) {
        const SkyLight light = sky.over(band);
        const double facing = light.direct / std::sin(elevation);
        if (!(facing > 0.0)) {
            throw radiometry::error("the wavelength of a band is not known");
        }
        sunlight.fractions[band] = facing / (facing + light.diffuse);
    }
    return sunlight;
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
                        bool isOvercast,
                        Warnings& warnings) {
    using Model = SunlightChoice::Model;
    const auto sameForAll = [&](double fraction, const char* model) {
        Sunlight sunlight;
        sunlight.model = model;
        for (const auto& [band, cameras] : radiometry::groupByBand(flight.cameras, settings)) {
            sunlight.fractions[band] = fraction;
        }
        return sunlight;
    };
    if (choice.model == Model::Number) {
        return sameForAll(choice.number, "given");
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
        if (isOvercast) {
            return sameForAll(0.0, "overcast");
        }
        warnings.add({},
                     "the readings do not determine the fraction of direct sunlight; that of a "
                     "clear sky is used");
    }
    if (choice.model == Model::Auto) {
        return underClearSky(flight, settings, systems);
    }
    return {radiometry::computeDirectSunlightFractionPhysicalModel(
                flight.images, flight.cameras, settings, systems.output, systems.site),
            {},
            "physical"};
}

} // namespace tessik::flight
