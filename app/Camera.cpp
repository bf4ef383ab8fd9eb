#include "Camera.h"

#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/exif/Predicates.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/text/Text.h"
#include "radiometry/Correct.h"
#include "radiometry/ExposureMetadata.h"
#include "radiometry/corrector/ICorrector.h"

namespace tessik::app {
namespace {

template <typename... Args>
[[noreturn]] void refuse(const Args&... args) {
    throw Refusal(text::compose(args...).toStdString());
}

} // namespace

image::Raster openPixels(InputImage& image) {
    image::Raster raster = image::Raster::open(image.path.toStdString());
    ExifInfo& exif = image.exif;
    if (exif.pixelType == DataType::UInt8 && raster.type() == DataType::UInt8) {
        exif.bandCount = raster.bandCount(); // EXIF of a JPEG does not tell grey from colour
    }
    if (raster.width() != exif.imageWidth || raster.height() != exif.imageHeight ||
        raster.bandCount() != exif.bandCount) {
        refuse("the pixels are ",
               raster.width(),
               " x ",
               raster.height(),
               " in ",
               raster.bandCount(),
               " bands, the metadata say ",
               exif.imageWidth,
               " x ",
               exif.imageHeight,
               " in ",
               exif.bandCount);
    }
    if (exif.pixelType == DataType::Unknown) {
        exif.pixelType = raster.type();
    }
    return raster;
}

void checkCorrectable(const InputImage& image, radiometry::CorrectionType type, bool isChosen) {
    const ExifInfo& exif = image.exif;
    if (exif.isNormalized) {
        refuse("already corrected");
    }
    if (!doAnyCorrection(type) && isChosen) {
        return;
    }
    if (exif.make.isEmpty() && exif.exposureTime == 0.0) {
        refuse("no camera metadata");
    }
    if (!doAnyCorrection(type)) {
        refuse(
            "the metadata hold neither a sensitivity nor an irradiance; ask for --type camera to "
            "correct exposure alone, or --type none");
    }
    if (exif.exposureTime == 0.0 && !exif.isAirinovMultispec4C) {
        refuse("no exposure time in the metadata");
    }
    if (!exif.sensitivity.empty() && !radiometry::isSensitivityValid(exif.sensitivity)) {
        refuse("no valid sensitivity in the metadata (a thermal band?); left alone");
    }
}

void correctBands(const InputImage& image,
                  radiometry::CorrectionType type,
                  MapCache& maps,
                  BandImage& bands) {
    const CameraParams camera = exif::cameraParams(image.exif);
    radiometry::correct(image,
                        camera,
                        CameraExternals(),
                        {},
                        Eigen::ArrayXd(),
                        {type},
                        geo::ProjectCoordinateSystems(),
                        nullptr,
                        maps.mapsFor(image, camera),
                        bands,
                        {0, 0});
}

ChainDescription
describeChain(const InputImage& image, radiometry::CorrectionType type, MapCache& maps) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const CameraExternals externals;
    const geo::ProjectCoordinateSystems coordinateSystems{};
    const auto sources = radiometry::datasource::create(image,
                                                        camera,
                                                        externals,
                                                        coordinateSystems,
                                                        {},
                                                        Eigen::ArrayXd(),
                                                        {type},
                                                        nullptr,
                                                        maps.mapsFor(image, camera));
    ChainDescription description;
    for (const auto& corrector : radiometry::corrector::create(image.exif)) {
        radiometry::corrector::feed(*corrector, sources);
        description.chain.push_back(radiometry::corrector::name(*corrector));
        if (corrector->wouldAct()) {
            description.applicable.push_back(description.chain.back());
        }
    }
    return description;
}

} // namespace tessik::app
