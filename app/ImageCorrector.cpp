#include "ImageCorrector.h"

#include "Poses.h"
#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/math/Angle.h"
#include "platform/text/Text.h"
#include "radiometry/Correct.h"
#include "radiometry/Thermal.h"
#include "radiometry/config/CorrectionSelection.h"
#include "radiometry/config/Validation.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/corrector/SunSensor.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"
#include "radiometry/sun/SunPosition.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace tessik::app {
namespace {

template <typename... Args>
[[noreturn]] void refuse(const Args&... args) {
    throw Refusal(text::compose(args...).toStdString());
}

/// What a step tells of itself; null = it did not act.
const radiometry::Account* accountOf(const char* step, const radiometry::Accounts& accounts) {
    const auto found =
        std::find_if(accounts.begin(), accounts.end(), [step](const radiometry::Account& account) {
            return account.name == step;
        });
    return found == accounts.end() ? nullptr : &*found;
}

/// What the last step counted.
std::vector<double> lastOf(const char* value, const radiometry::Accounts& accounts) {
    return accounts.empty() ? std::vector<double>() : accounts.back().numbersOf(value);
}

std::int64_t sumOf(const std::vector<double>& counts) {
    return static_cast<std::int64_t>(std::accumulate(counts.begin(), counts.end(), 0.0));
}

constexpr const char* kLight = radiometry::corrector::SunSensor::kName;

std::optional<double> firstOf(const std::vector<double>& numbers) {
    return numbers.empty() ? std::nullopt : std::optional(numbers.front());
}

/// How the sun stood by what the light sensor's step tells.
SunGeometry sunGeometryOf(const radiometry::Account& light) {
    return {firstOf(light.numbersOf("sun_elevation")),
            firstOf(light.numbersOf("sun_azimuth")),
            firstOf(light.numbersOf("sensor_tilt"))};
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

std::vector<double> Applied::levelIrradiance() const {
    const radiometry::Account* light = accountOf(kLight, accounts);
    const bool isLevelled = light != nullptr && !light->numbersOf("sun_elevation").empty();
    return isLevelled ? light->numbersOf("irradiance") : std::vector<double>();
}

std::int64_t Applied::pixels() const {
    return sumOf(lastOf("pixels", accounts));
}

std::int64_t Applied::maskedPixels() const {
    return sumOf(lastOf("masked", accounts));
}

std::vector<double> Applied::means() const {
    return lastOf("mean", accounts);
}

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
    const radiometry::CorrectionType type = m_project.typeOf(image);
    // Of a camera that the user did not ask to leave alone, the least correction is expected.
    const bool isUnknown = !doAnyCorrection(type) && !m_project.isTypeChosen;
    if (!m_project.isTypeChosen && doAnyCorrection(type) && !image.exif.isNormalized &&
        !doAnyCorrection(radiometry::guessRadiometricCorrectionTypeFromImage(image))) {
        refuse("the metadata lack what other images of this camera state and its correction needs");
    }
    const std::string reason =
        radiometry::whyNotToCorrect(image,
                                    isUnknown ? radiometry::CorrectionType::CameraOnly : type,
                                    m_project.sequoiaModelOf(image));
    if (!reason.empty()) {
        refuse(reason);
    }
    if (isUnknown && !image.exif.isThermal) {
        refuse("the metadata hold neither a sensitivity nor an irradiance; ask for --type camera "
               "to correct exposure only, or --type none");
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
        return {{radiometry::toCelsius(bands)}, sunGeometryOf(image)};
    }
    const CameraParams camera = exif::cameraParams(image.exif);
    const radiometry::sequoia::ModelParameter* model = m_project.sequoiaModelOf(image);
    const CameraExternals externals = externalsOf(image, m_project.coordinateSystems);
    const Eigen::ArrayXd sunlight = sunlightOf(image);
    Applied applied;
    radiometry::correct(image,
                        camera,
                        externals,
                        m_project.sensitivityOf(image),
                        sunlight,
                        {m_project.typeOf(image)},
                        m_project.coordinateSystems,
                        model,
                        m_maps.mapsFor(image, camera, model),
                        bands,
                        {0, 0},
                        applied.accounts);
    applied.sun = applied.levelIrradiance().empty()
                      ? sunGeometryOf(image)
                      : sunGeometryOf(*accountOf(kLight, applied.accounts));
    eraseUseless(image.exif, bands);
    for (radiometry::Account& account : applied.accounts) {
        for (radiometry::Account::Value& value : account.values) {
            eraseUseless(image.exif, value.numbers);
        }
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
    for (auto& [name, isApplicable] :
         radiometry::corrector::outlook(radiometry::corrector::create(image.exif), sources)) {
        if (isApplicable) {
            description.applicable.push_back(name);
        }
        description.chain.push_back(std::move(name));
    }
    return description;
}

} // namespace tessik::app
