#pragma once

#include "Flight.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/core/Types.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include <Eigen/Core>

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::app {

/// Where the fraction of direct sunlight comes from.
struct SunlightChoice {
    enum class Model { Auto, Fit, Physical, Number };
    Model model = Model::Auto;
    double number = 0.0; ///< 0..1, for Number

    /// The reverse of fromText.
    [[nodiscard]] std::string text() const;

    /// "auto", "fit", "physical" or a number 0..1; none for anything else.
    static std::optional<SunlightChoice> fromText(const std::string& text);
};

using SettingsByCamera = std::unordered_map<std::size_t, radiometry::Settings>;
using FractionByBand = std::map<BandInfo, double>;

/// The fraction of direct sunlight over a flight, and how it came about.
struct Sunlight {
    FractionByBand fractions;
    FractionByBand standardErrors; ///< of the bands where it is known
    std::string model;             ///< "fit", "physical" or "given"
};

/// The fraction of every band of the cameras that are corrected for the sun angle. `Auto` takes the
/// fit where it is sound (converged, inside 0..1, standard error at most 0.05), else the clear-sky
/// model, with a warning.
/// @throws radiometry::error when it cannot be told
Sunlight decideSunlight(const Flight& flight,
                        const SettingsByCamera& settings,
                        const geo::ProjectCoordinateSystems& systems,
                        const SunlightChoice& choice);

/// Standard error of a fitted fraction, scaled by the residual variance; none = not determined.
std::optional<double> standardError(const radiometry::SunlightFractionFitResult& fit);

struct SunlightOptions {
    std::vector<std::string> inputs;
    exif::ReadOptions metadata;
    std::optional<Eigen::Vector3f> sensorMount;
    std::optional<radiometry::CorrectionType> type;
    bool isPhysical = false;
    unsigned int degree = 2;
    bool useSensorAngles = false;
    bool json = false;
    int jobs = 1;
};

/// `radiometry sunlight`. @return exit status
int sunlight(const SunlightOptions& options);

struct SunOptions {
    std::string time;
    double latitude = 0.0;  ///< degrees
    double longitude = 0.0; ///< degrees
    bool json = false;
};

/// `radiometry sun`. @return exit status
int sun(const SunOptions& options);

} // namespace tessik::app
