#include "radiometry/corrector/SunSensor.h"

#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/log/Log.h"
#include "platform/math/Angle.h"
#include "radiometry/core/Consistency.h"
#include "radiometry/sun/SunIrradiance.h"

#include <cmath>

namespace tessik::radiometry::corrector {
namespace {

void tellLight(const correction::LevelIrradiance& light,
               const Eigen::ArrayXd& directSunlightFraction,
               Account* account) {
    tell(account, "reading", "", light.reading);
    tell(account, "irradiance", "", light.irradiance);
    if (light.sun) {
        const correction::SunInfo& sun = *light.sun;
        tell(account, "direct_fraction", "", directSunlightFraction);
        tell(account, "factor", "", light.factor);
        tell(account, "sun_elevation", "deg", {sun.angles.elevation / kDegree});
        tell(account, "sun_azimuth", "deg", {sun.angles.azimuth / kDegree});
        tell(account, "sun_incidence", "deg", {std::acos(sun.cosSunIncidence) / kDegree});
        tell(account, "sensor_tilt", "deg", {std::acos(sun.cosSensorTilt) / kDegree});
    }
}

} // namespace

/// The sources outlive the corrector: it refers to what they hold.
struct SunSensor::Data {
    const GlobalShutter* externals = nullptr;
    const Eigen::ArrayXd* directSunlightFraction = nullptr;
    const ExifInfo* exif = nullptr;
    const GeoData* geoData = nullptr;
    QString imagePath;
    /// Only its presence counts. Promised: docs/contract.md, sensor-presence.
    const CameraParams* sensor = nullptr;
    const geo::OutCoordSystem* outCS = nullptr;
    const geo::SiteCalibration* siteCalibration = nullptr;
    CorrectionType correctionType = CorrectionType::NoCorrection;
};

SunSensor::SunSensor() : m_data(std::make_unique<Data>()) {}
SunSensor::~SunSensor() = default;

void SunSensor::useData(const datasource::CoordinateSystems& source) {
    m_data->outCS = &source.cs().output;
    m_data->siteCalibration = &source.cs().site;
}

void SunSensor::useData(const datasource::ImageMetadata& source) {
    m_data->exif = &source.exif();
    m_data->geoData = &source.geo();
    m_data->imagePath = source.imagePath();
}

void SunSensor::useData(const datasource::LightConditions& source) {
    m_data->directSunlightFraction = &source.directSunlightFraction();
}

void SunSensor::useData(const datasource::Photogrammetry& source) {
    m_data->externals = &source.cameraExternals();
}

void SunSensor::useData(const datasource::Sensor& source) {
    m_data->sensor = &source.cameraParams();
}

void SunSensor::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool SunSensor::isApplicable() const {
    const Data& data = *m_data;
    return data.externals != nullptr && data.directSunlightFraction != nullptr &&
           data.exif != nullptr && data.geoData != nullptr && data.sensor != nullptr &&
           data.outCS != nullptr && data.siteCalibration != nullptr &&
           doIrradianceCorrection(data.correctionType);
}

RowWork SunSensor::prepare(const RowTask& task) const {
    const Data& data = *m_data;
    const correction::LevelIrradiance light =
        correction::levelIrradiance(*data.exif,
                                    *data.geoData,
                                    data.imagePath,
                                    *data.externals,
                                    *data.directSunlightFraction,
                                    *data.outCS,
                                    *data.siteCalibration,
                                    data.correctionType);
    // Without a reading the bands would come out as they are, and look like corrected ones.
    verifyConsistentNumberOfBands(task.bands.size(),
                                  static_cast<std::size_t>(light.irradiance.size()),
                                  QStringLiteral("Correcting for sun irradiance"));
    TESSIK_LOG(logging::kInfo) << "Sun irradiance correction: " << light.irradiance.transpose();
    tellLight(light, *data.directSunlightFraction, task.account);
    return scaling(light.irradiance.inverse().cast<float>());
}

} // namespace tessik::radiometry::corrector
