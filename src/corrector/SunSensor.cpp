#include "radiometry/corrector/SunSensor.h"

#include "Kernels.h"
#include "platform/exif/ExifInfo.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"
#include "radiometry/SunIrradiance.h"

namespace tessik::radiometry::corrector {

/// The sources outlive the corrector: it refers to what they hold.
struct SunSensor::Data {
    const GlobalShutter* externals = nullptr;
    const Eigen::ArrayXd* directSunlightFraction = nullptr;
    const ExifInfo* exif = nullptr;
    const GeoData* geoData = nullptr;
    QString imagePath;
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

RowWork SunSensor::prepareRows(const BandImage& bands,
                               const Eigen::Vector2i& /*blockOffset*/) const {
    const Data& data = *m_data;
    // Without a reading the bands would come out as they are, and look like corrected ones.
    verifyConsistentNumberOfBands(bands.size(),
                                  data.exif->sunIrradiance.size(),
                                  QStringLiteral("Correcting for sun irradiance"));
    const Eigen::ArrayXd irradiance =
        correction::correctedSunIrradiance(*data.exif,
                                           *data.geoData,
                                           data.imagePath,
                                           *data.externals,
                                           *data.directSunlightFraction,
                                           *data.outCS,
                                           *data.siteCalibration,
                                           data.correctionType);
    TESSIK_LOG(logging::kInfo) << "Sun irradiance correction: " << irradiance.transpose();
    return scaling(irradiance.inverse().cast<float>());
}

void SunSensor::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
