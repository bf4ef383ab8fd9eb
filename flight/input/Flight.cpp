#include "flight/input/Flight.h"

#include "flight/Parallel.h"
#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/math/Angle.h"

#include <QtCore/QSet>

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <utility>

namespace tessik::flight {
namespace {

using UtcOffset = std::optional<double>;

/// Thousands of images of a few cameras say the same: equal texts share their memory.
class SharedTexts {
public:
    void share(ExifInfo& exif) {
        const std::lock_guard lock(m_mutex);
        for (QString* text :
             {&exif.make, &exif.model, &exif.serialNumber, &exif.rigName, &exif.captureId}) {
            *text = *m_texts.insert(*text);
        }
        for (QString& name : exif.bandNames) {
            name = *m_texts.insert(name);
        }
    }

private:
    std::mutex m_mutex;
    QSet<QString> m_texts;
};

/// What is read of one input, besides the image; tasks fill one each.
struct Reading {
    UtcOffset estimatedOffset;
    std::vector<Warning> warnings;
};

InputImage readImage(const std::string& path,
                     const exif::ReadOptions& options,
                     UtcOffset& estimatedOffset,
                     Warnings& warnings) {
    exif::ImageMetadata metadata;
    try {
        metadata = exif::readMetadata(path, options);
    } catch (const exif::Error&) {
        (void)image::Raster::open(path); // where it fails too, its reason says more
        throw;
    }
    for (const std::string& text : metadata.warnings) {
        warnings.add(path, text);
    }
    estimatedOffset = metadata.estimatedUtcOffsetHours;
    return exif::inputImage(path, std::move(metadata));
}

/// One clock for the flight: where the offset to UTC was estimated, the first image's holds for
/// all.
/// @return that offset
UtcOffset useOneClock(const std::vector<Reading>& readings, std::vector<InputImage>& images) {
    constexpr double kSecondsPerHour = 3600.0;
    UtcOffset first;
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (const UtcOffset& offset = readings[i].estimatedOffset) {
            first = first.value_or(*offset);
            images[i].geo.captureTime += (*offset - *first) * kSecondsPerHour;
        }
    }
    return first;
}

/// Cameras whose maker asks for it get the mean of the readings around each capture.
void averageLight(std::vector<InputImage>& images) {
    std::map<std::uint64_t, std::vector<std::size_t>> byCamera;
    for (std::size_t i = 0; i < images.size(); ++i) {
        const InputImage& image = images[i];
        if (image.enabled && image.exif.lightAveragingSeconds > 0.0 &&
            image.geo.captureTime != 0.0 && exif::hasSunIrradiance(image.exif)) {
            byCamera[image.cameraId].push_back(i);
        }
    }
    for (auto& [camera, indices] : byCamera) {
        const auto timeOf = [&images](std::size_t i) { return images[i].geo.captureTime; };
        std::sort(indices.begin(), indices.end(), [&timeOf](std::size_t a, std::size_t b) {
            return timeOf(a) < timeOf(b);
        });
        const double half = 0.5 * images[indices.front()].exif.lightAveragingSeconds;
        std::vector<Eigen::ArrayXd> means;
        auto first = indices.begin();
        for (const std::size_t i : indices) {
            first = std::find_if(
                first, indices.end(), [&](std::size_t j) { return timeOf(j) >= timeOf(i) - half; });
            Eigen::ArrayXd sum = Eigen::ArrayXd::Zero(exif::sunIrradiance(images[i].exif).size());
            double count = 0.0;
            for (auto j = first; j != indices.end() && timeOf(*j) <= timeOf(i) + half; ++j) {
                sum += exif::sunIrradiance(images[*j].exif);
                count += 1.0;
            }
            means.emplace_back(sum / count);
        }
        for (std::size_t k = 0; k < indices.size(); ++k) {
            images[indices[k]].exif.sunIrradiance.assign(means[k].begin(), means[k].end());
        }
    }
}

bool looksDown(const Eigen::Vector3f& mount) {
    return std::cos(mount[0] * kDegree) * std::cos(mount[1] * kDegree) < 0.0;
}

} // namespace

std::vector<Failure> Flight::failures() const {
    std::vector<Failure> all = argumentFailures;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!reasons[i].empty()) {
            all.push_back({inputs[i].path, reasons[i]});
        }
    }
    return all;
}

CameraData cameraData(const ExifInfo& exif) {
    return {exif::cameraName(exif), exif.make, exif.model, exif.bands, exif::cameraParams(exif)};
}

void complete(const std::optional<Eigen::Vector3f>& sensorMount,
              const ClipLimits& clipLimits,
              InputImage& image) {
    ExifInfo& exif = image.exif;
    if (sensorMount && exif::hasSunIrradiance(exif) && !exif.isSunIrradianceLevel &&
        !exif.sunSensorRelativeOrientation) {
        exif.sunSensorRelativeOrientation = sensorMount;
    }
    const auto limit = clipLimits.find(image.cameraId);
    if (limit != clipLimits.end() && !exif.storedRange) {
        exif.storedRange = {0.0, limit->second};
    }
}

Flight readFlight(const FlightOptions& options, Observer& observer) {
    InputList inputs = expandInputs(options.inputs, options.excluded);
    Flight flight;
    flight.inputs = std::move(inputs.images);
    flight.argumentFailures = std::move(inputs.failures);
    flight.images.resize(flight.inputs.size());
    flight.reasons.resize(flight.inputs.size());
    std::vector<Reading> readings(flight.inputs.size());
    SharedTexts texts;
    inParallel(flight.inputs.size(), options.jobs, [&](std::size_t i) {
        const std::string& path = flight.inputs[i].path;
        Warnings warnings(observer);
        const Listening listening(observer, warnings, path);
        try {
            flight.images[i] =
                readImage(path, options.metadata, readings[i].estimatedOffset, warnings);
            texts.share(flight.images[i].exif);
        } catch (const std::exception& failure) {
            flight.reasons[i] = failure.what();
            flight.images[i].path = QString::fromStdString(path);
            flight.images[i].enabled = false;
        }
        readings[i].warnings = warnings.list();
    });
    Warnings warnings(observer);
    for (const Reading& reading : readings) {
        warnings.join(reading.warnings);
    }
    flight.metadata = options.metadata;
    const UtcOffset estimated = useOneClock(readings, flight.images);
    if (!flight.metadata.utcOffsetHours) {
        flight.metadata.utcOffsetHours = estimated;
    }
    averageLight(flight.images);
    if (options.looksForClipLimits) {
        flight.clipLimits = findClipLimits(flight.images, options.jobs, warnings);
    }
    flight.sensorMount = options.sensorMount;
    if (flight.sensorMount && looksDown(*flight.sensorMount)) {
        warnings.add({},
                     "--sensor-mount: the irradiance sensor looks down when the camera does; 0,0,0 "
                     "is a sensor on its back");
    }
    for (InputImage& image : flight.images) {
        if (image.enabled) {
            complete(flight.sensorMount, flight.clipLimits, image);
            flight.cameras.try_emplace(image.cameraId, cameraData(image.exif));
        }
    }
    flight.warnings = warnings.list();
    return flight;
}

} // namespace tessik::flight
