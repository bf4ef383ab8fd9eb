#include "ImageCorrector.h"

#include "Poses.h"
#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/exif/Predicates.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/log/Log.h"
#include "platform/text/Text.h"
#include "radiometry/Correct.h"
#include "radiometry/DirectSunlightFraction.h"
#include "radiometry/ExposureMetadata.h"
#include "radiometry/SunIrradiance.h"
#include "radiometry/corrector/ICorrector.h"

namespace tessik::app {
namespace {

template <typename... Args>
[[noreturn]] void refuse(const Args&... args) {
    throw Refusal(text::compose(args...).toStdString());
}

/// The parts of the correction of a reading for the sun angle.
void logSunAngle(const InputImage& image,
                 const CameraExternals& externals,
                 const Eigen::ArrayXd& sunlight,
                 const Project& project) {
    constexpr double kDegree = static_cast<double>(EIGEN_PI) / 180.0;
    const geo::OutCoordSystem& output = project.coordinateSystems.output;
    const radiometry::correction::SunInfo info = radiometry::correction::sunPositionInfo(
        output.proc2out(externals.position),
        radiometry::correction::sunIrradianceSensorPoseVector(
            image.exif, externals, image.path, output, project.typeOf(image)),
        image.geo.captureTime,
        output,
        project.coordinateSystems.site);
    TESSIK_LOG(logging::kInfo) << "Sun angle: elevation " << info.angles.elevation / kDegree
                               << " deg, azimuth " << info.angles.azimuth / kDegree
                               << " deg, cosine of incidence " << info.cosSunIncidence
                               << ", cosine of sensor tilt " << info.cosSensorTilt
                               << ", direct sunlight " << sunlight.transpose() << ", factor "
                               << radiometry::correction::sunPosition(info, sunlight).transpose();
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
    // Its optical models then do not act, and the values would stay as they are.
    if (sequoia::isSequoia(exif) && (exif.iso <= 0 || exif.apertureFNumber <= 0.0)) {
        refuse("no ISO or no f-number in the metadata, which the Sequoia's model needs");
    }
    if (!exif.sensitivity.empty() && !radiometry::isSensitivityValid(exif.sensitivity)) {
        refuse("no valid sensitivity in the metadata (a thermal band?); left alone");
    }
    if (doIrradianceCorrection(type) && !exif::hasSunIrradiance(exif)) {
        refuse("no irradiance reading in the metadata");
    }
    if (doSunAngleCorrection(type) && !image.geo.position) {
        refuse("Unable to convert from output coordinate system to WGS-84: no position in the "
               "metadata");
    }
    if (m_project.sequoiaModelOf(image) != nullptr && !exif.sensorTemperature) {
        refuse("no sensor temperature in the metadata, which the factory calibration needs");
    }
}

Eigen::ArrayXd ImageCorrector::sunlightOf(const InputImage& image) const {
    if (!doSunAngleCorrection(m_project.typeOf(image))) {
        return {};
    }
    if (!m_project.sunlightFailure.empty()) {
        refuse(m_project.sunlightFailure);
    }
    if (image.exif.bands.size() != image.exif.bandCount) {
        refuse("the metadata do not state the wavelength of each band, by which the fraction of "
               "direct sunlight is known");
    }
    return radiometry::getFractionOfDirectSunlight(m_project.sunlight, image.exif.bands);
}

void ImageCorrector::correct(const InputImage& image, BandImage& bands) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    const CameraExternals externals = externalsOf(image, m_project.coordinateSystems);
    const Eigen::ArrayXd sunlight = sunlightOf(image);
    if (logging::takes(logging::kInfo) && doSunAngleCorrection(m_project.typeOf(image))) {
        logSunAngle(image, externals, sunlight, m_project);
    }
    radiometry::correct(image,
                        camera,
                        externals,
                        {},
                        sunlight,
                        {m_project.typeOf(image)},
                        m_project.coordinateSystems,
                        model,
                        m_maps.mapsFor(image, camera, model),
                        bands,
                        {0, 0});
}

ChainDescription ImageCorrector::describeChain(const InputImage& image) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const CameraExternals externals = externalsOf(image, m_project.coordinateSystems);
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
