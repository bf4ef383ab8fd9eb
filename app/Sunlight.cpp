#include "Sunlight.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "JsonReader.h"
#include "Poses.h"
#include "Project.h"
#include "platform/camera/ExifInfo.h"
#include "platform/exif/Tags.h"
#include "platform/log/Log.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;
using radiometry::CorrectionType;
using radiometry::SunlightFractionFitResult;

/// Slow drift over a flight: constant, slope and curvature.
constexpr unsigned int kDriftDegree = 2;
/// A fraction known no better than this is no better than the clear-sky model's.
constexpr double kLargestError = 0.05;

bool isSound(const SunlightFractionFitResult& fit) {
    const std::optional<double> error = standardError(fit);
    return fit.hasConverged && error && *error <= kLargestError && fit.fraction > 0.0 &&
           fit.fraction < 1.0;
}

/// The images that a fit can use. Says how many have readings and cannot be used.
/// @param kept where they are put if they are not all
const std::vector<InputImage>& imagesToFit(const Flight& flight, std::vector<InputImage>& kept) {
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
        sayWarning({},
                   "images without capture time or position, which take no part in the fit of "
                   "direct sunlight: " +
                       std::to_string(unusable));
    }
    return kept;
}

/// Empty where a fit is not sound and only sound ones are wanted.
Sunlight fitted(const Flight& flight,
                const SettingsByCamera& settings,
                const geo::ProjectCoordinateSystems& systems,
                bool onlySound) {
    Sunlight sunlight;
    sunlight.model = "fit";
    std::vector<InputImage> kept;
    for (const auto& [band, fit] :
         radiometry::computeDirectSunlightFraction(imagesToFit(flight, kept),
                                                   flight.cameras,
                                                   settings,
                                                   systems.output,
                                                   systems.site,
                                                   posesByCamera(flight, systems),
                                                   kDriftDegree,
                                                   false)) {
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
    for (const InputImage& image : flight.images) {
        if (image.cameraId == cameraId && exif::hasSunIrradianceRelativeOrientation(image.exif)) {
            return CorrectionType::CameraSunIrradianceAndSunAngle;
        }
    }
    return kSunAngleAbsolute;
}

Json describe(const BandInfo& band, const SunlightFractionFitResult& fit) {
    const std::optional<double> error = standardError(fit);
    Json coefficients = Json::array();
    for (const double coefficient : fit.coefficients) {
        coefficients.push_back(coefficient);
    }
    return {{"wavelength_nm", band.wavelengthNm},
            {"fwhm_nm", band.fwhmNm},
            {"fraction", fit.fraction},
            {"standard_error", error ? Json(*error) : Json()},
            {"coefficients", coefficients},
            {"readings", fit.readingCount}};
}

Json describe(const BandInfo& band, double fraction) {
    return {{"wavelength_nm", band.wavelengthNm},
            {"fwhm_nm", band.fwhmNm},
            {"fraction", fraction},
            {"standard_error", Json()},
            {"coefficients", Json::array()},
            {"readings", 0}};
}

void print(const Json& bands) {
    show("%10s %8s %10s %10s %9s\n", "wavelength", "fwhm", "fraction", "std error", "readings");
    for (const Json& band : bands) {
        const Json& error = band["standard_error"];
        show("%7.1f nm %5.1f nm %10.4f %10s %9d\n",
             band["wavelength_nm"].get<double>(),
             band["fwhm_nm"].get<double>(),
             band["fraction"].get<double>(),
             error.is_null() ? "-" : QString::number(error.get<double>(), 'f', 4).toUtf8().data(),
             band["readings"].get<int>());
    }
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
    case Model::Number:
        break;
    }
    return QString::number(number, 'g', 17).toStdString();
}

std::optional<double> standardError(const SunlightFractionFitResult& fit) {
    if (!fit.fractionVariance || !fit.residualVariance) {
        return std::nullopt;
    }
    return std::sqrt(*fit.fractionVariance * *fit.residualVariance);
}

Sunlight decideSunlight(const Flight& flight,
                        const SettingsByCamera& settings,
                        const geo::ProjectCoordinateSystems& systems,
                        const SunlightChoice& choice) {
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
        Sunlight sunlight = fitted(flight, settings, systems, choice.model == Model::Auto);
        if (!sunlight.fractions.empty()) {
            return sunlight;
        }
        if (choice.model == Model::Fit) {
            throw radiometry::error("the fraction of direct sunlight cannot be fitted");
        }
        sayWarning({},
                   "the readings do not determine the fraction of direct sunlight; the "
                   "clear-sky model is used");
    }
    return {radiometry::computeDirectSunlightFractionPhysicalModel(
                flight.images, flight.cameras, settings, systems.output, systems.site),
            {},
            "physical"};
}

int sunlight(const SunlightOptions& options) {
    Flight flight = readFlight(expandInputs(options.inputs), options.metadata, options.jobs);
    const bool hasFailed = sayFailures(flight) > 0;
    for (InputImage& image : flight.images) {
        mountSensor(options.sensorMount, image);
    }
    SettingsByCamera settings;
    for (const auto& [id, camera] : flight.cameras) {
        settings[id] = {options.type.value_or(sunAngleType(flight, id))};
    }
    const geo::ProjectCoordinateSystems systems = coordinateSystemsOf(flight);
    Json bands = Json::array();
    if (options.isPhysical) {
        for (const auto& [band, fraction] :
             decideSunlight(flight, settings, systems, {SunlightChoice::Model::Physical, 0.0})
                 .fractions) {
            bands.push_back(describe(band, fraction));
        }
    } else {
        const auto start = std::chrono::steady_clock::now();
        std::size_t readings = 0;
        std::vector<InputImage> kept;
        for (const auto& [band, fit] :
             radiometry::computeDirectSunlightFraction(imagesToFit(flight, kept),
                                                       flight.cameras,
                                                       settings,
                                                       systems.output,
                                                       systems.site,
                                                       posesByCamera(flight, systems),
                                                       options.degree,
                                                       options.useSensorAngles)) {
            bands.push_back(describe(band, fit));
            readings += fit.readingCount;
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        TESSIK_LOG(logging::kInfo)
            << "Fitted " << readings << " readings, "
            << 1000.0 * elapsed.count() / std::max(static_cast<double>(readings), 1.0)
            << " s a thousand";
    }
    if (options.json) {
        std::puts(jsonText(bands, 2).c_str());
    } else if (!bands.empty()) {
        print(bands);
    }
    if (bands.empty()) {
        sayFailure({}, "no fraction of direct sunlight could be told");
        return NothingDone;
    }
    return hasFailed ? SomeFailed : AllDone;
}

} // namespace tessik::app
