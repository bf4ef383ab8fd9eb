#include "ImageCorrector.h"

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

void ImageCorrector::check(const InputImage& image) const {
    const ExifInfo& exif = image.exif;
    const radiometry::CorrectionType type = m_project.typeOf(image);
    if (exif.isNormalized) {
        refuse("already corrected");
    }
    if (!doAnyCorrection(type) && m_project.isTypeChosen) {
        return;
    }
    if (exif.make.isEmpty() && exif.exposureTime == 0.0) {
        refuse("no camera metadata");
    }
    if (!doAnyCorrection(type)) {
        refuse("the metadata hold neither a sensitivity nor an irradiance; ask for --type camera "
               "to correct exposure alone, or --type none");
    }
    if (exif.exposureTime == 0.0 && !exif.isAirinovMultispec4C) {
        refuse("no exposure time in the metadata");
    }
    if (!exif.sensitivity.empty() && !radiometry::isSensitivityValid(exif.sensitivity)) {
        refuse("no valid sensitivity in the metadata (a thermal band?); left alone");
    }
    if (m_project.sequoiaModelOf(image) != nullptr && !exif.sensorTemperature) {
        refuse("no sensor temperature in the metadata, which the factory calibration needs");
    }
}

void ImageCorrector::correct(const InputImage& image, BandImage& bands) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    radiometry::correct(image,
                        camera,
                        CameraExternals(),
                        {},
                        Eigen::ArrayXd(),
                        {m_project.typeOf(image)},
                        m_project.coordinateSystems,
                        model,
                        m_maps.mapsFor(image, camera, model),
                        bands,
                        {0, 0});
}

ChainDescription ImageCorrector::describeChain(const InputImage& image) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const CameraExternals externals;
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    const auto sources = radiometry::datasource::create(image,
                                                        camera,
                                                        externals,
                                                        m_project.coordinateSystems,
                                                        {},
                                                        Eigen::ArrayXd(),
                                                        {m_project.typeOf(image)},
                                                        model,
                                                        m_maps.mapsFor(image, camera, model));
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
