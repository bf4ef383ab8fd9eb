#include "ImageCorrector.h"

#include "Poses.h"
#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/exif/Predicates.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/log/Log.h"
#include "platform/math/Angle.h"
#include "platform/text/Text.h"
#include "radiometry/DirectSunlightFraction.h"
#include "radiometry/ExposureMetadata.h"
#include "radiometry/SunIrradiance.h"
#include "radiometry/SunPosition.h"
#include "radiometry/Thermal.h"
#include "radiometry/corrector/ICorrector.h"

#include <cmath>

namespace tessik::app {
namespace {

template <typename... Args>
[[noreturn]] void refuse(const Args&... args) {
    throw Refusal(text::compose(args...).toStdString());
}

/// The parts of the correction of a reading for the sun angle.
void describeSunAngle(const InputImage& image,
                      const CameraExternals& externals,
                      const Eigen::ArrayXd& sunlight,
                      const Project& project,
                      Applied& applied) {
    const geo::OutCoordSystem& output = project.coordinateSystems.output;
    const radiometry::correction::SunInfo info = radiometry::correction::sunPositionInfo(
        output.proc2out(externals.position),
        radiometry::correction::sunIrradianceSensorPoseVector(
            image.exif, externals, image.path, output, project.typeOf(image)),
        image.geo.captureTime,
        output,
        project.coordinateSystems.site);
    const Eigen::ArrayXd factor = radiometry::correction::sunPosition(info, sunlight);
    applied.sun = {info.angles.elevation / kDegree,
                   info.angles.azimuth / kDegree,
                   std::acos(info.cosSensorTilt) / kDegree};
    for (std::size_t b = 0; b < image.exif.sunIrradiance.size(); ++b) {
        applied.levelIrradiance.push_back(image.exif.sunIrradiance[b] *
                                          factor(static_cast<Eigen::Index>(b)));
    }
    TESSIK_LOG(logging::kInfo) << "Sun angle: elevation " << info.angles.elevation / kDegree
                               << " deg, azimuth " << info.angles.azimuth / kDegree
                               << " deg, cosine of incidence " << info.cosSunIncidence
                               << ", cosine of sensor tilt " << info.cosSensorTilt
                               << ", direct sunlight " << sunlight.transpose() << ", factor "
                               << factor.transpose();
}

/// Where the sun stood, for an image that is not corrected for it.
SunGeometry sunGeometryOf(const InputImage& image) {
    SunGeometry sun;
    if (image.geo.position && image.geo.captureTime != 0.0) {
        const radiometry::SunAngle angle =
            radiometry::SunPositionEstimator().sunAngle(image.geo.captureTime,
                                                        image.geo.position->latitude * kDegree,
                                                        image.geo.position->longitude * kDegree);
        sun.elevation = angle.elevation / kDegree;
        sun.azimuth = angle.azimuth / kDegree;
    }
    if (const auto& pose = image.exif.sunSensorYawPitchRoll) {
        sun.sensorTilt =
            std::acos(std::cos((*pose)[1] * kDegree) * std::cos((*pose)[2] * kDegree)) / kDegree;
    }
    return sun;
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
    if (exif.isThermal) {
        return; // its samples are temperatures, whatever the metadata say of exposure and light
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
        refuse("the sensitivity in the metadata is not above 0 in each band");
    }
    if (doIrradianceCorrection(type) && !exif::hasSunIrradiance(exif)) {
        refuse("no irradiance reading in the metadata");
    }
    if (doSunAngleCorrection(type) && !exif.uselessBands.empty()) {
        refuse("the sun angle cannot be corrected for a camera with a band that holds nothing of "
               "use; ask for --type irradiance");
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
    return radiometry::getFractionOfDirectSunlight(m_project.sunlight.fractions, image.exif.bands);
}

Applied ImageCorrector::correct(const InputImage& image, BandImage& bands) {
    if (image.exif.isThermal) {
        Applied applied;
        applied.sun = sunGeometryOf(image);
        radiometry::toCelsius(bands);
        applied.pixels = summaryOf(bands);
        return applied;
    }
    const CameraParams camera = exif::cameraParams(image.exif);
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    const CameraExternals externals = externalsOf(image, m_project.coordinateSystems);
    const Eigen::ArrayXd sunlight = sunlightOf(image);
    Applied applied;
    if (doSunAngleCorrection(m_project.typeOf(image))) {
        describeSunAngle(image, externals, sunlight, m_project, applied);
    } else {
        applied.sun = sunGeometryOf(image);
    }
    const auto sources = radiometry::datasource::create(image,
                                                        camera,
                                                        externals,
                                                        m_project.coordinateSystems,
                                                        m_project.sensitivityOf(image),
                                                        sunlight,
                                                        {m_project.typeOf(image)},
                                                        model,
                                                        m_maps.mapsFor(image, camera, model));
    radiometry::corrector::Chain chain = radiometry::corrector::create(image.exif);
    chain.push_back(std::make_unique<Summarise>(applied.pixels));
    radiometry::corrector::apply(chain, sources, bands, {0, 0});
    chain.pop_back();
    for (const auto& corrector : chain) {
        if (corrector->wouldAct()) {
            applied.correctors.push_back(radiometry::corrector::name(*corrector));
        }
    }
    if (!image.exif.uselessBands.empty()) {
        eraseUseless(image.exif, bands);
        applied.pixels = summaryOf(bands);
    }
    return applied;
}

ChainDescription ImageCorrector::describeChain(const InputImage& image) {
    const CameraParams camera = exif::cameraParams(image.exif);
    const CameraExternals externals = externalsOf(image, m_project.coordinateSystems);
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    const auto sources = radiometry::datasource::create(image,
                                                        camera,
                                                        externals,
                                                        m_project.coordinateSystems,
                                                        m_project.sensitivityOf(image),
                                                        Eigen::ArrayXd(),
                                                        {m_project.typeOf(image)},
                                                        model,
                                                        m_maps.mapsFor(image, camera, model));
    ChainDescription description;
    if (image.exif.isThermal) {
        return description;
    }
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
