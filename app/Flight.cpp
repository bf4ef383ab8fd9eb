#include "Flight.h"

#include "Console.h"
#include "platform/image/Raster.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <utility>

namespace tessik::app {
namespace {

InputImage readImage(const std::string& path, const exif::ReadOptions& options) {
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
    return exif::inputImage(path, std::move(metadata));
}

CameraData cameraData(const ExifInfo& exif) {
    return {exif::cameraName(exif), exif.make, exif.model, exif.bands, exif::cameraParams(exif)};
}

} // namespace

Flight readFlight(std::vector<Input> inputs, const exif::ReadOptions& options, int jobs) {
    Flight flight;
    flight.inputs = std::move(inputs);
    flight.images.resize(flight.inputs.size());
    flight.failures.resize(flight.inputs.size());
    tbb::task_arena arena(jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, flight.inputs.size(), [&](std::size_t i) {
            try {
                flight.images[i] = readImage(flight.inputs[i].path.string(), options);
            } catch (const std::exception& failure) {
                flight.failures[i] = failure.what();
                flight.images[i].path = QString::fromStdString(flight.inputs[i].path.string());
                flight.images[i].enabled = false;
            }
        });
    });
    for (const InputImage& image : flight.images) {
        if (image.enabled) {
            flight.cameras.try_emplace(image.cameraId, cameraData(image.exif));
        }
    }
    return flight;
}

} // namespace tessik::app
