#include "Flight.h"

#include "Console.h"
#include "platform/camera/ExifInfo.h"
#include "platform/image/Raster.h"

#include <QtCore/QSet>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

namespace tessik::app {
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

InputImage
readImage(const std::string& path, const exif::ReadOptions& options, UtcOffset& estimatedOffset) {
    exif::ImageMetadata metadata;
    try {
        metadata = exif::readMetadata(path, options);
    } catch (const exif::Error&) {
        (void)image::Raster::open(path); // where it fails too, its reason says more
        throw;
    }
    for (const std::string& warning : metadata.warnings) {
        sayWarning(path, warning);
    }
    estimatedOffset = metadata.estimatedUtcOffsetHours;
    return exif::inputImage(path, std::move(metadata));
}

/// One clock for the flight: where the offset to UTC was estimated, the first image's holds for
/// all.
/// @return that offset
UtcOffset useOneClock(const std::vector<UtcOffset>& estimatedOffsets,
                      std::vector<InputImage>& images) {
    constexpr double kSecondsPerHour = 3600.0;
    UtcOffset first;
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (estimatedOffsets[i]) {
            first = first.value_or(*estimatedOffsets[i]);
            images[i].geo.captureTime += (*estimatedOffsets[i] - *first) * kSecondsPerHour;
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

} // namespace

std::size_t sayFailures(const Flight& flight) {
    std::size_t count = flight.argumentFailures.size();
    for (const auto& [path, reason] : flight.argumentFailures) {
        sayFailure(path, reason);
    }
    for (std::size_t i = 0; i < flight.inputs.size(); ++i) {
        if (!flight.failures[i].empty()) {
            sayFailure(flight.inputs[i].path, flight.failures[i]);
            ++count;
        }
    }
    return count;
}

CameraData cameraData(const ExifInfo& exif) {
    return {exif::cameraName(exif), exif.make, exif.model, exif.bands, exif::cameraParams(exif)};
}

Flight readFlight(InputList inputs, const exif::ReadOptions& options, int jobs) {
    Flight flight;
    flight.inputs = std::move(inputs.images);
    flight.argumentFailures = std::move(inputs.failures);
    flight.images.resize(flight.inputs.size());
    flight.failures.resize(flight.inputs.size());
    std::vector<UtcOffset> estimatedOffsets(flight.inputs.size());
    SharedTexts texts;
    tbb::task_arena arena(jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, flight.inputs.size(), [&](std::size_t i) {
            try {
                flight.images[i] = readImage(flight.inputs[i].path, options, estimatedOffsets[i]);
                texts.share(flight.images[i].exif);
            } catch (const std::exception& failure) {
                flight.failures[i] = failure.what();
                flight.images[i].path = QString::fromStdString(flight.inputs[i].path);
                flight.images[i].enabled = false;
            }
        });
    });
    flight.estimatedUtcOffsetHours = useOneClock(estimatedOffsets, flight.images);
    averageLight(flight.images);
    for (const InputImage& image : flight.images) {
        if (image.enabled) {
            flight.cameras.try_emplace(image.cameraId, cameraData(image.exif));
        }
    }
    return flight;
}

} // namespace tessik::app
