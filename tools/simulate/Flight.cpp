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

bool showsPanel(const FlightOptions& options, std::size_t capture) {
    return options.hasPanel && (capture == 0 || capture + 1 == options.captures);
}

ordered_json panelRecord(const Panel& panel, const PanelView& view, double wavelengthNm) {
    ordered_json corners = ordered_json::array();
    for (const Eigen::Vector2d& corner : panel.surface(view)) {
        corners.push_back({corner.x(), corner.y()});
    }
    return {{"serial", panel.serial()},
            {"reflectance", Panel::reflectanceAt(wavelengthNm)},
            {"corners_px", corners}};
}

std::vector<Station> courseOf(const path& folder, const FlightOptions& options) {
    const auto station = options.sky == Sky::Clear ? surveyStation : stationOf;
    std::vector<Station> course;
    course.reserve(options.captures);
    for (std::size_t capture = 0; capture < options.captures; ++capture) {
        course.push_back(station(options.seed, capture, options.intervalSeconds));
    }
    if (!course.empty() && course.back().microseconds >= kDayMicroseconds) {
        throw Failure(folder, "the flight would last beyond midnight UTC");
    }
    if (options.hasPanel) {
        course.front() = onGround(course.front());
        course.back() = onGround(course.back());
    }
    return course;
}

std::unique_ptr<const Light> lightOf(const FlightOptions& options,
                                     const std::vector<Station>& course) {
    if (options.sky == Sky::Clear) {
        return std::make_unique<ClearSky>(options.seed, options.clearSky, course);
    }
    return std::make_unique<ChangingLight>(options.seed, options.captures);
}

void addReading(const LightReading& reading, ordered_json& record) {
    record["reading"] = reading.irradiance;
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
                             {"sky", options.sky == Sky::Clear ? "clear" : "changing"}};
    if (options.sky == Sky::Clear) {
        const SensorMount& mount = options.clearSky.mount;
        manifest["sensor_noise"] = options.clearSky.sensorNoise;
        manifest["sensor_omega_phi_kappa_deg"] = {
            mount.omegaDegrees, mount.phiDegrees, mount.kappaDegrees};
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

} // namespace

void renderFlight(const path& folder, const FlightOptions& options) {
    checkVacant(folder);
    checkSize(folder, options);
    checkPanel(folder, options);
    const std::unique_ptr<Camera> ownedCamera = makeCamera(options);
    const Camera& camera = *ownedCamera;
    const std::vector<Station> course = courseOf(folder, options);
    prepareFolder(folder);
    const Scene scene(options.seed);
    const Panel panel(options.seed);
    const std::unique_ptr<const Light> light = lightOf(options, course);
    const std::size_t bandCount = camera.bands().size();

    std::vector<ordered_json> records(options.captures * bandCount);
    std::exception_ptr failure;
    const auto renderOne = [&](std::size_t index) {
        Shot shot;
        shot.capture = index / bandCount;
        shot.band = index % bandCount;
        shot.station = course[shot.capture];
        shot.sinceStart = shot.station.microseconds - course.front().microseconds;
        const double wavelength = camera.bands()[shot.band].info.wavelengthNm;
        shot.irradiance = light->irradiance(shot.capture, wavelength);
        shot.reading = light->reading(shot.capture, wavelength);
        for (const Band& band : camera.bands()) {
            shot.readings.push_back(
                light->reading(shot.capture, band.info.wavelengthNm).irradiance);
        }
        if (showsPanel(options, shot.capture)) {
            const PanelView view =
                panel.view(shot.capture, shot.band, options.width, options.height);
            shot.reflectance = panel.reflectance(wavelength, view);
            records[index] = renderFile(folder, camera, shot, options.hasTruth);
            records[index]["panel"] = panelRecord(panel, view, wavelength);
            return;
        }
        const View view{shot.station.eastM,
                        shot.station.northM,
                        kFootprintWidthM / static_cast<double>(options.width),
                        options.width,
                        options.height};
        shot.reflectance = scene.reflectance(wavelength, view);
        records[index] = renderFile(folder, camera, shot, options.hasTruth);
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
