#include "Flight.h"

#include "Console.h"
#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "radiometry/Config.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>

namespace tessik::app {
namespace {

void readImage(Flight::Image& image) {
    const std::string path = image.input.path.string();
    try {
        exif::ImageMetadata metadata;
        try {
            metadata = exif::readMetadata(path);
        } catch (const exif::Error&) {
            (void)image::Raster::open(path); // where it fails too, its reason says more
            throw;
        }
        for (const std::string& warning : metadata.warnings) {
            sayWarning(path, warning);
        }
        image.image = exif::inputImage(path, std::move(metadata));
    } catch (const std::exception& failure) {
        image.failure = failure.what();
    }
}

} // namespace

Flight readFlight(const std::vector<Input>& inputs, int jobs) {
    Flight flight;
    flight.images.resize(inputs.size());
    tbb::task_arena arena(jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, inputs.size(), [&](std::size_t i) {
            flight.images[i].input = inputs[i];
            readImage(flight.images[i]);
        });
    });
    return flight;
}

std::map<std::uint64_t, radiometry::CorrectionType>
correctionTypes(const Flight& flight, std::optional<radiometry::CorrectionType> wanted) {
    std::map<std::uint64_t, radiometry::CorrectionType> types;
    for (const Flight::Image& image : flight.images) {
        if (!image.failure.empty()) {
            continue;
        }
        const auto guess =
            wanted ? *wanted : radiometry::guessRadiometricCorrectionTypeFromImage(image.image);
        const auto [entry, isNew] = types.try_emplace(image.image.cameraId, guess);
        if (!isNew) {
            entry->second = std::min(entry->second, guess);
        }
    }
    return types;
}

} // namespace tessik::app
