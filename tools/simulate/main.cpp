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
    bool withImages = false;
};

void addSunlight(CLI::Option_group& group, ClearSky::Options& sky) {
    group
        .add_option("--sunlight",
                    sky.directFraction,
                    "Fraction of the light of a clear sky that comes directly from the sun")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
    group.add_flag(
        "--sunlight-per-band", sky.perBand, "Make this fraction larger in red and smaller in blue");
    group
        .add_option("--drift",
                    sky.drift,
                    "Multiply the slow change of the light over the flight by this; with 0 and "
                    "without --haze a clear sky has the light of clean air at that time")
        ->check(CLI::Range(0.0, 4.0))
        ->capture_default_str();
    group.add_flag("--haze",
                   sky.hasHaze,
                   "Let the seed change the light and its direct fraction, each by up to 0.05");
}

void addSensor(CLI::Option_group& group, ClearSky::Options& sky) {
    group
        .add_option("--sensor-noise",
                    sky.sensorNoise,
                    "Standard deviation of the readings, as a share of them; each band has its own")
        ->check(CLI::Range(0.0, 0.1))
        ->capture_default_str();
    group
        .add_option("--sensor-jitter",
                    sky.sensorJitter,
                    "The same for what all bands of a capture have in common")
        ->check(CLI::Range(0.0, 0.1))
        ->capture_default_str();
    group
        .add_option_function<std::vector<double>>(
            "--sensor-mount",
            [&sky](const std::vector<double>& angles) {
                sky.mount = {angles[0], angles[1], angles[2]};
            },
            "Rotation of the sensor relative to the camera, OMEGA,PHI,KAPPA in degrees; at 0,0,0 "
            "(default) the sensor looks up")
        ->delimiter(',')
        ->expected(3)
        ->type_name("ANGLES");
    group
        .add_option_function<std::vector<double>>(
            "--mount-error",
            [&sky](const std::vector<double>& angles) {
                sky.mountErrorRoll = angles[0];
                sky.mountErrorPitch = angles[1];
            },
            "Turn the sensor by ROLL,PITCH in degrees about its own axes; the files do not tell")
        ->delimiter(',')
        ->expected(2)
        ->type_name("ANGLES");
    group
        .add_option("--pose-noise",
                    sky.poseNoiseDegrees,
                    "Standard deviation of the stated roll and pitch, degrees; all bands of a "
                    "capture share it")
        ->check(CLI::Range(0.0, 10.0))
        ->capture_default_str();
}

void addPanel(CLI::App& flight, FlightOptions& options) {
    flight
        .add_option_function<std::string>(
            "--panel",
            [&options](const std::string& when) {
                options.hasPanel = true;
                options.isPanelAtEnd = when == "both";
            },
            "Show a reflectance panel in the first capture, or in the first and last one: first or "
            "both (default); rededge and rededge-p only")
        ->expected(0, 1)
        ->default_str("both")
        ->check(CLI::IsMember({"first", "both"}));
    flight
        .add_option("--panel-error",
                    options.panelError,
                    "The panel's reflectance is 1 + this times what its code states")
        ->check(CLI::Range(-0.5, 0.5))
        ->needs(flight.get_option("--panel"))
        ->capture_default_str();
}

/// What is wrong where the panel lies.
void addPanelSite(CLI::App& flight, CLI::Option_group& group, FlightOptions& options) {
    group
        .add_option("--sensor-shade",
                    options.clearSky.sensorShade,
                    "The share of the direct light that reaches the sensor beside the panel")
        ->check(CLI::Range(0.0, 1.0))
        ->needs(flight.get_option("--panel"))
        ->capture_default_str();
    group
        .add_option("--panel-tilt",
                    options.clearSky.panelTiltDegrees,
                    "Degrees by which the panel is tilted towards the sun")
        ->check(CLI::Range(0.0, 60.0))
        ->needs(flight.get_option("--panel"))
        ->capture_default_str();
}

void addSky(CLI::App& flight, FlightOptions& options) {
    const std::map<std::string, Sky> skies = {{"changing", Sky::Changing},
                                              {"clear", Sky::Clear},
                                              {"overcast", Sky::Overcast},
                                              {"broken", Sky::Broken}};
    flight
        .add_option("--sky",
                    options.sky,
                    "changing (default): clouds and a level flight; clear: sun and a sensor that "
                    "tilts; overcast: the same without direct light; broken: the same with "
                    "shadows of clouds")
        ->transform(CLI::CheckedTransformer(skies));
    auto* group = flight.add_option_group("Sun and sensor");
    addSunlight(*group, options.clearSky);
    addSensor(*group, options.clearSky);
    addPanelSite(flight, *group, options);
    flight.callback([group, &options] {
        if (group->count_all() > 0 && !hasSun(options.sky)) {
            throw CLI::ValidationError(
                "give --sky clear, overcast or broken with the options of sun and sensor");
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
    addPanel(*flight, options);
    flight
        ->add_option("--sensitivity-drift",
                     options.sensitivityDrift,
                     "Share by which the camera gets more sensitive from the first to the last "
                     "capture; the files do not tell")
        ->check(CLI::Range(-0.5, 0.5))
        ->capture_default_str();
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
    auto* absolute = compare->add_flag_callback(
        "--absolute",
        [&options] {
            options.target = Target::Reflectance;
            options.scale = Scale::One;
        },
        "Take the values as reflectance as they stand, instead of fitting one scale for each "
        "band; tells also the mean absolute error of the means of images (mean_abs_error) and "
        "of single pixels (mean_abs_error_pixels), in reflectance, over pixels that are "
        "neither defective, nor saturated, nor masked, nor glints (reflectance above 1)");
    absolute->excludes(against);
    compare
        ->add_flag("--images",
                   options.withImages,
                   "Print the mean of each corrected image and of its truth, over the same pixels")
        ->needs(absolute);
    compare->add_flag("--json", options.isJson, "Print one JSON document");
    return compare;
}

void print(const std::vector<BandResult>& results, const CompareOptions& options) {
    if (options.isJson) {
        printJson(std::cout, results, options.target, options.scale, options.withImages);
        return;
    }
    printTable(std::cout, results, options.target, options.scale);
    if (options.withImages) {
        printImages(std::cout, results);
    }
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
        print(results, compareOptions);
        return 0;
    } catch (const MissingFile& failure) {
        std::cerr << failure.what() << '\n';
        return 2;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
