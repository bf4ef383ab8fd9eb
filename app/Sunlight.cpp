#include "app/Subcommands.h"
#include "flight/json/CorrectionWords.h"
#include "flight/light/Poses.h"
#include "platform/log/Log.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace tessik::app {
namespace {

using flight::Json;
using radiometry::SunlightFractionFitResult;

struct Options {
    flight::FlightOptions flight;
    std::optional<radiometry::CorrectionType> type;
    bool isPhysical = false;
    flight::FitOptions fit;
    bool json = false;
};

Json describe(const BandInfo& band, const SunlightFractionFitResult& fit) {
    const std::optional<double> error = flight::standardError(fit);
    Json coefficients = Json::array();
    for (const double coefficient : fit.coefficients) {
        coefficients.push_back(coefficient);
    }
    return {{"wavelength_nm", band.wavelengthNm},
            {"fwhm_nm", band.fwhmNm},
            {"fraction", fit.fraction},
            {"standard_error", flight::orNull(error)},
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
             error.is_null() ? std::string("-")
                             : QString::number(error.get<double>(), 'f', 4).toStdString(),
             band["readings"].get<int>());
    }
}

Json fitBands(const flight::Flight& flight,
              const flight::SettingsByCamera& settings,
              const geo::ProjectCoordinateSystems& systems,
              const flight::FitOptions& options,
              flight::Warnings& warnings) {
    const auto start = std::chrono::steady_clock::now();
    Json bands = Json::array();
    std::size_t readings = 0;
    for (const auto& [band, fit] :
         flight::fitSunlight(flight, settings, systems, options, warnings)) {
        bands.push_back(describe(band, fit));
        readings += fit.readingCount;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    TESSIK_LOG(logging::kInfo) << "Fitted " << readings << " readings, "
                               << 1000.0 * elapsed.count() /
                                      std::max(static_cast<double>(readings), 1.0)
                               << " s a thousand";
    return bands;
}

int sunlight(const Options& options, Terminal& terminal) {
    bool hasFailed = false;
    const flight::Flight flight = readAndSay(options.flight, terminal, hasFailed);
    flight::Warnings warnings(terminal);
    const flight::SettingsByCamera settings = flight::sunAngleSettings(flight, options.type);
    const geo::ProjectCoordinateSystems systems =
        flight::coordinateSystemsAt(flight::centerOf(flight));
    Json bands = Json::array();
    if (options.isPhysical) {
        const flight::SunlightChoice physical = {flight::SunlightChoice::Model::Physical, 0.0};
        for (const auto& [band, fraction] :
             flight::decideSunlight(flight, settings, systems, physical, false, warnings)
                 .fractions) {
            bands.push_back(describe(band, fraction));
        }
    } else {
        bands = fitBands(flight, settings, systems, options.fit, warnings);
    }
    if (options.json) {
        showJson(bands);
    } else if (!bands.empty()) {
        print(bands);
    }
    if (bands.empty()) {
        terminal.failure({{}, "no fraction of direct sunlight can be determined"});
        return NothingDone;
    }
    return hasFailed ? SomeFailed : AllDone;
}

} // namespace

Action addSunlight(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    options->flight.looksForClipLimits = false;
    CLI::App& command = *cli.add_subcommand(
        "sunlight", "Tell the fraction of direct sunlight of each band over a flight");
    addFlight(command, options->flight)->required();
    command
        .add_option_function<std::string>(
            "--model",
            [options](const std::string& word) { options->isPhysical = word == "physical"; },
            "fit (the default): from the readings; physical: of a clear sky")
        ->check(CLI::IsMember({"fit", "physical"}));
    command.add_option("--degree", options->fit.degree, "Degree of the drift of the light in time")
        ->check(CLI::Range(0, 10))
        ->capture_default_str();
    command.add_flag("--sensor-angles",
                     options->fit.useSensorAngles,
                     "Fit the sensor's orientation relative to the camera as well");
    command
        .add_option_function<std::string>(
            "--type",
            [options](const std::string& word) { options->type = flight::typeOf(word); },
            "Orientation to use; the default is what the metadata allow")
        ->check(CLI::IsMember({"sun-angle", "sun-angle-absolute"}));
    addSensorMount(command, options->flight);
    addJson(command, options->json);
    return [options](Terminal& terminal) { return sunlight(*options, terminal); };
}

} // namespace tessik::app
