#pragma once

#include "flight/input/Flight.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/core/Types.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// Where the fraction of direct sunlight comes from; None = nobody needs it.
struct SunlightChoice {
    enum class Model { Auto, Fit, Physical, Number, None };
    Model model = Model::Auto;
    double number = 0.0; ///< 0..1, for Number

    /// The reverse of fromText.
    [[nodiscard]] std::string text() const;

    /// "auto", "fit", "physical" or a number 0..1; absent for anything else.
    static std::optional<SunlightChoice> fromText(const std::string& text);
};

using SettingsByCamera = std::unordered_map<std::size_t, radiometry::Settings>;
using FractionByBand = std::map<BandInfo, double>;

/// The fraction of direct sunlight over a flight, and how it came about.
struct Sunlight {
    FractionByBand fractions;
    FractionByBand standardErrors; ///< of the bands where it is known
    std::string model;             ///< "fit", "clear sky", "overcast", "physical" or "given"
};

/// The fraction of every band of the cameras that are corrected for the sun angle. `Auto` takes the
/// fit where it is sound (converged, inside 0..1, standard error at most 0.05), else 0 under an
/// overcast sky, else that of ClearSky for the middle of the flight, with a warning.
/// @throws radiometry::error when it cannot be determined
Sunlight decideSunlight(const Flight& flight,
                        const SettingsByCamera& settings,
                        const geo::ProjectCoordinateSystems& systems,
                        const SunlightChoice& choice,
                        bool isOvercast,
                        Warnings& warnings);

/// How the readings of a flight are fitted.
struct FitOptions {
    /// Of the drift of the light in time; 2 = constant, slope and curvature.
    unsigned int degree = 2;
    /// Fit the sensor's orientation relative to the camera as well.
    bool useSensorAngles = false;
};

using FitByBand = std::map<BandInfo, radiometry::SunlightFractionFitResult>;

/// Fits every band of the cameras that are corrected for the sun angle, to the images that can be
/// used; a warning says how many have readings and cannot.
/// @return empty when a band cannot be fitted, which is logged
FitByBand fitSunlight(const Flight& flight,
                      const SettingsByCamera& settings,
                      const geo::ProjectCoordinateSystems& systems,
                      const FitOptions& options,
                      Warnings& warnings);

/// For each camera the sun-angle type that is asked for, or else the one that its metadata allow.
SettingsByCamera sunAngleSettings(const Flight& flight,
                                  const std::optional<radiometry::CorrectionType>& asked);

/// Standard error of a fitted fraction, scaled by the residual variance; absent = not determined.
std::optional<double> standardError(const radiometry::SunlightFractionFitResult& fit);

} // namespace tessik::flight
