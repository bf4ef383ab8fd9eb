// The command `simulate` renders flights from known reflectance, and compares corrected images with
// what they were rendered from.
#include "simulate/Compare.h"
#include "simulate/Flight.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace tessik::simulate; // NOLINT(google-build-using-namespace): the command's own

struct CompareOptions {
    std::string flight;
    std::string corrected;
    Target target = Target::Radiance;
    Scale scale = Scale::Fitted;
    bool isJson = false;
};

void addSky(CLI::App& flight, FlightOptions& options) {
    const std::map<std::string, Sky> skies = {{"changing", Sky::Changing}, {"clear", Sky::Clear}};
    flight
        .add_option(
            "--sky",
            options.sky,
            "changing (default): clouds and a level flight; clear: sun and a sensor that tilts")
        ->transform(CLI::CheckedTransformer(skies));
    auto* group = flight.add_option_group("Clear sky");
    ClearSky::Options& sky = options.clearSky;
    group
        ->add_option("--sunlight",
                     sky.directFraction,
                     "Fraction of the light that comes directly from the sun")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    group->add_flag(
        "--sunlight-per-band", sky.perBand, "Make this fraction larger in red and smaller in blue");
    group
        ->add_option(
            "--drift", sky.drift, "Multiply the change of the light over the flight by this")
        ->check(CLI::Range(0.0, 4.0))
        ->capture_default_str();
    group
        ->add_option("--sensor-noise",
                     sky.sensorNoise,
                     "Standard deviation of the readings, as a share of them")
        ->check(CLI::Range(0.0, 0.1))
        ->capture_default_str();
    group
        ->add_option_function<std::vector<double>>(
            "--sensor-mount",
            [&sky](const std::vector<double>& angles) {
                sky.mount = {angles[0], angles[1], angles[2]};
            },
            "Rotation of the sensor relative to the camera, OMEGA,PHI,KAPPA in degrees; at 0,0,0 "
            "(default) the sensor looks up")
        ->delimiter(',')
        ->expected(3)
        ->type_name("ANGLES");
    flight.callback([group, &options] {
        if (group->count_all() > 0 && options.sky != Sky::Clear) {
            throw CLI::ValidationError("give --sky clear with the options of sunlight and sensor");
        }
    });
}

CLI::App* addFlight(CLI::App& app, std::string& folder, FlightOptions& options, bool& noTruth) {
    CLI::App* flight = app.add_subcommand("flight", "Render a flight as a camera would store it");
    flight->add_option("-o,--output", folder, "Folder to write to; it must be new or empty")
        ->required();
    const std::map<std::string, CameraModel> cameras = {{"rededge", CameraModel::RedEdge},
                                                        {"rededge-p", CameraModel::RedEdgeP},
                                                        {"sequoia-v1", CameraModel::SequoiaV1},
                                                        {"sequoia-v2", CameraModel::SequoiaV2},
                                                        {"p4m", CameraModel::P4m},
                                                        {"m3m", CameraModel::M3m}};
    flight
        ->add_option("--camera",
                     options.camera,
                     "rededge (default), rededge-p, sequoia-v1, sequoia-v2, p4m or m3m")
        ->transform(CLI::CheckedTransformer(cameras));
    flight->add_option("--captures", options.captures, "Number of captures")
        ->check(CLI::Range(1, 9999))
        ->capture_default_str();
    flight->add_option("--seed", options.seed, "Seed of everything that is drawn at random")
        ->capture_default_str();
    flight->add_option("--width", options.width, "Columns of an image")
        ->check(CLI::Range(kSmallestSide, Eigen::Index{16384}))
        ->capture_default_str();
    flight->add_option("--height", options.height, "Rows of an image")
        ->check(CLI::Range(kSmallestSide, Eigen::Index{16384}))
        ->capture_default_str();
    flight->add_flag("--no-truth",
                     noTruth,
                     "Do not write the images of the truth; flight.json is written all the same");
    flight->add_option("--noise", options.noise, "Multiply the camera's own noise by this")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    flight->add_flag(
        "--panel",
        options.hasPanel,
        "Show a reflectance panel in the first and last capture (rededge and rededge-p only)");
    flight->add_option("--interval", options.intervalSeconds, "Seconds between two captures")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    addSky(*flight, options);
    return flight;
}

CLI::App* addCompare(CLI::App& app, CompareOptions& options) {
    CLI::App* compare = app.add_subcommand("compare", "Compare corrected images with the truth");
    compare->add_option("flight", options.flight, "Folder of the flight")->required();
    compare
        ->add_option("corrected",
                     options.corrected,
                     "Folder of the corrected images, which have the names of the raw ones")
        ->required();
    const std::map<std::string, Target> targets = {{"radiance", Target::Radiance},
                                                   {"reflectance", Target::Reflectance}};
    auto* against =
        compare->add_option("--against", options.target, "radiance (default) or reflectance")
            ->transform(CLI::CheckedTransformer(targets));
    compare
        ->add_flag_callback(
            "--absolute",
            [&options] {
                options.target = Target::Reflectance;
                options.scale = Scale::One;
            },
            "Take the values as reflectance as they stand, instead of fitting one scale for each "
            "band")
        ->excludes(against);
    compare->add_flag("--json", options.isJson, "Print one JSON document");
    return compare;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Renders flights from known reflectance, and compares corrected images with it");
    app.require_subcommand(1);
    std::string folder;
    FlightOptions flightOptions;
    bool noTruth = false;
    CompareOptions compareOptions;
    const CLI::App* flight = addFlight(app, folder, flightOptions, noTruth);
    addCompare(app, compareOptions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        return app.exit(failure) == 0 ? 0 : 1;
    }
    try {
        if (flight->parsed()) {
            flightOptions.hasTruth = !noTruth;
            renderFlight(std::filesystem::u8path(folder), flightOptions);
            std::cout << flightOptions.captures << " captures in " << folder << "/" << kImagesFolder
                      << '\n';
            return 0;
        }
        const std::vector<BandResult> results =
            compare(std::filesystem::u8path(compareOptions.flight),
                    std::filesystem::u8path(compareOptions.corrected),
                    compareOptions.target,
                    compareOptions.scale);
        (compareOptions.isJson ? printJson : printTable)(
            std::cout, results, compareOptions.target, compareOptions.scale);
        return 0;
    } catch (const MissingFile& failure) {
        std::cerr << failure.what() << '\n';
        return 2;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
