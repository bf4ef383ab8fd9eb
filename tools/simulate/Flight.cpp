#include "simulate/Flight.h"

#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"
#include "simulate/DjiCamera.h"
#include "simulate/MicaSenseCamera.h"
#include "simulate/Panel.h"
#include "simulate/Scene.h"
#include "simulate/SequoiaCamera.h"

#include <nlohmann/json.hpp>

#include <exception>
#include <fstream>
#include <functional>
#include <memory>

namespace tessik::simulate {
namespace {

using nlohmann::ordered_json;
using std::filesystem::path;

constexpr int kManifestVersion = 1;

/// Writes under a temporary name and renames; adds the path to the text of a failure.
void writeWhole(const path& file, const std::function<void(const std::string&)>& write) {
    try {
        image::PendingFile pending(file.u8string());
        write(pending.temporaryPath());
        pending.commit();
    } catch (const std::exception& failure) {
        throw Failure(file, failure.what());
    }
}

std::unique_ptr<Camera> makeCamera(const FlightOptions& flight) {
    const CameraOptions options{flight.width, flight.height, flight.seed, flight.noise};
    switch (flight.camera) {
    case CameraModel::RedEdgeP:
        return makeRedEdgeP(options);
    case CameraModel::SequoiaV1:
        return std::make_unique<SequoiaCamera>(options, SequoiaCamera::Kind::Uniform);
    case CameraModel::SequoiaV2:
        return std::make_unique<SequoiaCamera>(options, SequoiaCamera::Kind::Measured);
    case CameraModel::P4m:
        return makeP4m(options);
    case CameraModel::M3m:
        return makeM3m(options);
    case CameraModel::RedEdge:
        break;
    }
    return makeRedEdge(options);
}

void prepareFolder(const path& folder) {
    std::error_code failure;
    std::filesystem::create_directories(folder / kImagesFolder, failure);
    if (!failure) {
        std::filesystem::create_directories(folder / kTruthFolder, failure);
    }
    if (failure) {
        throw Failure(folder, "cannot be created: " + failure.message());
    }
}

/// Nobody would notice files of an earlier flight among those of this one.
void checkVacant(const path& folder) {
    std::error_code failure;
    if (!std::filesystem::exists(folder, failure)) {
        return;
    }
    const bool isEmpty = std::filesystem::is_empty(folder, failure);
    if (failure || !std::filesystem::is_directory(folder)) {
        throw Failure(folder, "is not a folder that can be read");
    }
    if (!isEmpty) {
        throw Failure(folder, "the folder is not empty");
    }
}

std::string size(Eigen::Index width, Eigen::Index height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

void checkSize(const path& folder, const FlightOptions& options) {
    if (options.width < kSmallestSide || options.height < kSmallestSide) {
        throw Failure(folder,
                      "images of " + size(options.width, options.height) +
                          " pixels: expected at least " + size(kSmallestSide, kSmallestSide));
    }
}

void checkPanel(const path& folder, const FlightOptions& options) {
    if (!options.hasPanel) {
        return;
    }
    constexpr std::size_t kFewest = 3;
    if (options.camera != CameraModel::RedEdge && options.camera != CameraModel::RedEdgeP) {
        throw Failure(folder, "only a RedEdge or RedEdge-P is flown with a panel");
    }
    if (options.captures < kFewest) {
        throw Failure(folder, "a flight with a panel has at least 3 captures");
    }
}

ordered_json
panelRecord(const Panel& panel, const PanelView& view, double stated, double reflectance) {
    ordered_json corners = ordered_json::array();
    for (const Eigen::Vector2d& corner : panel.surface(view)) {
        corners.push_back({corner.x(), corner.y()});
    }
    return {{"serial", panel.serial()},
            {"reflectance", reflectance},
            {"stated_reflectance", stated},
            {"corners_px", corners}};
}

/// Where the light of the panel is compared with that of the flight, the aircraft needs its time to
/// take off and to land.
void putOnGround(const FlightOptions& options, std::vector<Station>& course) {
    constexpr std::int64_t kPauseMicroseconds = 60LL * 1000000;
    const std::int64_t pause = hasSun(options.sky) ? kPauseMicroseconds : 0;
    course.front() = onGround(course.front());
    course.front().microseconds -= pause;
    if (options.isPanelAtEnd) {
        course.back() = onGround(course.back());
        course.back().microseconds += pause;
    }
}

std::vector<Station> courseOf(const path& folder, const FlightOptions& options) {
    const auto station = hasSun(options.sky) ? surveyStation : stationOf;
    std::vector<Station> course;
    course.reserve(options.captures);
    for (std::size_t capture = 0; capture < options.captures; ++capture) {
        course.push_back(station(options.seed, capture, options.intervalSeconds));
    }
    if (options.hasPanel) {
        putOnGround(options, course);
    }
    if (!course.empty() && course.back().microseconds >= kDayMicroseconds) {
        throw Failure(folder, "the flight would last beyond midnight UTC");
    }
    if (hasSun(options.sky)) {
        for (std::size_t capture = 0; capture < options.captures; ++capture) {
            addPoseNoise(options.seed, capture, options.clearSky.poseNoiseDegrees, course[capture]);
        }
    }
    return course;
}

std::unique_ptr<const Light> lightOf(const FlightOptions& options,
                                     const std::vector<Station>& course) {
    if (hasSun(options.sky)) {
        ClearSky::Options sky = options.clearSky;
        sky.clouds = options.sky == Sky::Overcast ? Clouds::Kind::Overcast
                     : options.sky == Sky::Broken ? Clouds::Kind::Broken
                                                  : Clouds::Kind::None;
        return std::make_unique<ClearSky>(options.seed, sky, course);
    }
    return std::make_unique<ChangingLight>(options.seed, options.captures);
}

void addReading(const LightReading& reading, ordered_json& record) {
    record["received"] = reading.received;
    record["reading"] = reading.irradiance;
    record["stated_level"] = reading.level;
    record["sensor_yaw_deg"] = reading.attitude.yawDegrees;
    record["sensor_pitch_deg"] = reading.attitude.pitchDegrees;
    record["sensor_roll_deg"] = reading.attitude.rollDegrees;
    if (reading.sun) {
        record["direct_fraction"] = reading.sun->directFraction;
        record["facing_irradiance"] = reading.sun->facingIrradiance;
        record["sun_azimuth_deg"] = reading.sun->sunAzimuthDegrees;
        record["sun_elevation_deg"] = reading.sun->sunElevationDegrees;
        record["cos_incidence"] = reading.sun->cosIncidence;
        record["cos_tilt"] = reading.sun->cosTilt;
        record["tau"] = reading.sun->transmittance;
    }
}

ordered_json record(const Camera& camera, const Shot& shot, const Frame& frame) {
    const Band& band = camera.bands()[shot.band];
    ordered_json record = {{"file", camera.fileName(shot.capture, shot.band)},
                           {"capture", shot.capture},
                           {"band", band.name},
                           {"wavelength_nm", band.info.wavelengthNm},
                           {"irradiance", shot.irradiance},
                           {"exposure_s", frame.exposureSeconds},
                           {"iso", frame.iso},
                           {"bad_pixels", frame.badPixels},
                           {"saturated_pixels", frame.saturatedPixels}};
    addReading(shot.reading, record);
    return record;
}

/// Writes the files of one band of one capture. @return its part of the manifest
ordered_json renderFile(const path& folder, const Camera& camera, const Shot& shot, bool hasTruth) {
    const Frame frame = camera.take(shot, hasTruth);
    const std::string name = camera.fileName(shot.capture, shot.band);
    writeWhole(folder / kImagesFolder / name, [&frame](const std::string& file) {
        image::writeUInt16Raster(file, {frame.samples});
        exif::writeTags(file, frame.tags);
    });
    if (hasTruth) {
        writeWhole(folder / kTruthFolder / name, [&](const std::string& file) {
            image::WriteOptions options;
            options.bandNames = {"reflectance", "relative standard deviation"};
            image::writeFloatRaster(file, {shot.reflectance, frame.relativeDeviation}, options);
        });
    }
    return record(camera, shot, frame);
}

const char* toString(Sky sky) {
    switch (sky) {
    case Sky::Clear:
        return "clear";
    case Sky::Overcast:
        return "overcast";
    case Sky::Broken:
        return "broken";
    case Sky::Changing:
        break;
    }
    return "changing";
}

void addSky(const ClearSky::Options& sky, ordered_json& manifest) {
    manifest["sunlight"] = sky.directFraction;
    manifest["sunlight_per_band"] = sky.perBand;
    manifest["drift"] = sky.drift;
    manifest["haze"] = sky.hasHaze;
    manifest["sensor_noise"] = sky.sensorNoise;
    manifest["sensor_jitter"] = sky.sensorJitter;
    manifest["sensor_omega_phi_kappa_deg"] = {
        sky.mount.omegaDegrees, sky.mount.phiDegrees, sky.mount.kappaDegrees};
    manifest["mount_error_roll_pitch_deg"] = {sky.mountErrorRoll, sky.mountErrorPitch};
    manifest["pose_noise_deg"] = sky.poseNoiseDegrees;
    manifest["sensor_shade"] = sky.sensorShade;
    manifest["panel_tilt_deg"] = sky.panelTiltDegrees;
}

void writeManifest(const path& folder,
                   const Camera& camera,
                   const FlightOptions& options,
                   const std::vector<ordered_json>& records) {
    ordered_json manifest = {{"schema_version", kManifestVersion},
                             {"camera", camera.name()},
                             {"seed", options.seed},
                             {"noise", options.noise},
                             {"width", options.width},
                             {"height", options.height},
                             {"captures", options.captures},
                             {"interval_s", options.intervalSeconds},
                             {"sky", toString(options.sky)},
                             {"panel_error", options.panelError},
                             {"sensitivity_drift", options.sensitivityDrift}};
    if (hasSun(options.sky)) {
        addSky(options.clearSky, manifest);
    }
    manifest["files"] = records;
    writeWhole(folder / kTruthFolder / kManifestFile, [&manifest](const std::string& file) {
        std::ofstream stream(file);
        stream << manifest.dump(1) << '\n';
        stream.close();
        if (!stream) {
            throw std::runtime_error("cannot be written");
        }
    });
}

/// What a flight's camera and light sensor have around them.
struct Surroundings {
    const FlightOptions& options;
    const std::vector<Station>& course;
    Scene scene;
    Panel panel;
    std::unique_ptr<const Light> light;
};

/// How much more sensitive than its files state the camera is at a capture.
double sensitivityAt(const Surroundings& around, std::size_t capture) {
    const std::int64_t begin = around.course.front().microseconds;
    const auto whole = static_cast<double>(around.course.back().microseconds - begin);
    const auto flown = static_cast<double>(around.course[capture].microseconds - begin);
    return 1.0 + (whole > 0.0 ? around.options.sensitivityDrift * flown / whole : 0.0);
}

/// A shot in the light, but without anything to see.
Shot litShot(const Camera& camera,
             const Surroundings& around,
             std::size_t capture,
             std::size_t band) {
    Shot shot;
    shot.capture = capture;
    shot.band = band;
    shot.station = around.course[capture];
    shot.station.attitude = shot.station.statedAttitude();
    shot.sinceStart = shot.station.microseconds - around.course.front().microseconds;
    const double wavelength = camera.bands()[band].info.wavelengthNm;
    shot.irradiance = around.light->irradiance(capture, wavelength);
    shot.response = sensitivityAt(around, capture);
    shot.reading = around.light->reading(capture, wavelength);
    for (const Band& each : camera.bands()) {
        shot.readings.push_back(around.light->reading(capture, each.info.wavelengthNm).irradiance);
    }
    return shot;
}

ordered_json
renderPanel(const path& folder, const Camera& camera, const Surroundings& around, Shot& shot) {
    const FlightOptions& options = around.options;
    const double wavelength = camera.bands()[shot.band].info.wavelengthNm;
    const double stated = Panel::reflectanceAt(wavelength);
    const double reflectance = (1.0 + options.panelError) * stated;
    const double irradiance = around.light->onPanel(shot.capture, wavelength);
    const PanelView view =
        around.panel.view(shot.capture, shot.band, options.width, options.height);
    shot.response *= irradiance / shot.irradiance;
    shot.reflectance = around.panel.reflectance(reflectance, view);
    ordered_json result = renderFile(folder, camera, shot, options.hasTruth);
    result["panel"] = panelRecord(around.panel, view, stated, reflectance);
    result["panel"]["irradiance"] = irradiance;
    return result;
}

ordered_json renderShot(const path& folder,
                        const Camera& camera,
                        const Surroundings& around,
                        std::size_t capture,
                        std::size_t band) {
    const FlightOptions& options = around.options;
    const Station& station = around.course[capture];
    Shot shot = litShot(camera, around, capture, band);
    if (station.isOnGround) {
        return renderPanel(folder, camera, around, shot);
    }
    const View view{station.eastM,
                    station.northM,
                    kFootprintWidthM / static_cast<double>(options.width),
                    options.width,
                    options.height,
                    station.attitude.yawDegrees};
    shot.reflectance = around.scene.reflectance(camera.bands()[band].info.wavelengthNm, view);
    return renderFile(folder, camera, shot, options.hasTruth);
}

} // namespace

void renderFlight(const path& folder, const FlightOptions& options) {
    checkVacant(folder);
    checkSize(folder, options);
    checkPanel(folder, options);
    const std::unique_ptr<Camera> ownedCamera = makeCamera(options);
    const Camera& camera = *ownedCamera;
    const std::vector<Station> course = courseOf(folder, options);
    prepareFolder(folder);
    const Surroundings surroundings{
        options, course, Scene(options.seed), Panel(options.seed), lightOf(options, course)};
    const std::size_t bandCount = camera.bands().size();

    std::vector<ordered_json> records(options.captures * bandCount);
    std::exception_ptr failure;
    const auto renderOne = [&](std::size_t index) {
        records[index] =
            renderShot(folder, camera, surroundings, index / bandCount, index % bandCount);
    };
    // Every file has random numbers of its own, so their order does not matter.
    const std::size_t fileCount = records.size();
#pragma omp parallel for schedule(dynamic) default(none) shared(fileCount, renderOne, failure)
    for (std::size_t index = 0; index < fileCount; ++index) {
        try {
            renderOne(index);
        } catch (...) {
#pragma omp critical(simulateFailure)
            if (!failure) {
                failure = std::current_exception();
            }
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    camera.writeCompanions(folder);
    writeManifest(folder, camera, options, records);
}

} // namespace tessik::simulate
