#include "flight/run/ImageCorrector.h"

#include "flight/input/Pixels.h"
#include "flight/light/Poses.h"
#include "platform/math/Angle.h"
#include "radiometry/Correct.h"
#include "radiometry/Thermal.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/corrector/SunSensor.h"
#include "radiometry/directSunlightFraction/BandGroups.h"
#include "radiometry/sun/SunPosition.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace tessik::flight {
namespace {

/// The account of a step; null = it did not act.
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

/// How the sun stood, by the account of the light sensor's step.
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

Eigen::ArrayXd ImageCorrector::sunlightOf(const InputImage& image) const {
    if (!doSunAngleCorrection(m_project.typeOf(image))) {
        return {};
    }
    if (!m_project.sunlightFailure.empty()) {
        throw Refusal(m_project.sunlightFailure);
    }
    if (image.exif.bands.size() != image.exif.bandCount) {
        throw Refusal(
            "the metadata do not state the wavelength of each band, by which the fraction "
            "of direct sunlight is known");
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
                        m_decisions.sensitivityOf(image),
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
                                                        m_decisions.sensitivityOf(image),
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

} // namespace tessik::flight
