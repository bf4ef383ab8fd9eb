#include "flight/run/PlannedReader.h"

#include "flight/input/Pixels.h"
#include "platform/exif/ExifReader.h"

#include <utility>

namespace tessik::flight {
namespace {

/// With what the plan knows and the file does not.
InputImage completed(const Project& project, const PlannedImage& planned, InputImage image) {
    if (image.cameraId != planned.cameraId) {
        throw Refusal("not the image that was planned: its camera is " +
                      exif::cameraName(image.exif).toStdString());
    }
    complete(project.sensorMount, project.clipLimits, image);
    if (!planned.sunIrradiance.empty()) {
        image.exif.sunIrradiance = planned.sunIrradiance;
    }
    return image;
}

} // namespace

ReadImage readPlanned(const Plan& plan, const PlannedImage& planned, Observer& observer) {
    exif::ImageMetadata metadata = exif::readMetadata(planned.path, plan.metadata);
    for (const std::string& warning : metadata.warnings) {
        observer.warning({planned.path, warning});
    }
    ReadImage read;
    read.raw = metadata.raw;
    const Project& project = plan.decisions.project;
    InputImage image = exif::inputImage(planned.path, std::move(metadata));
    read.reading = image.exif.sunIrradiance;
    read.image = completed(project, planned, std::move(image));
    project.check(read.image);
    return read;
}

Applied readAndCorrect(const PlannedImage& planned,
                       ImageCorrector& corrector,
                       PixelWatcher* watcher,
                       InputImage& image,
                       BandImage& bands) {
    openPixels(image).readInto(bands);
    if (watcher == nullptr || image.exif.isThermal || !watcher->wants(planned)) {
        return corrector.correct(image, bands);
    }
    watcher->takeRaw(planned, image, bands);
    Applied applied = corrector.correct(image, bands);
    watcher->takeCorrected(planned, bands);
    return applied;
}

} // namespace tessik::flight
