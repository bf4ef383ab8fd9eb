#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry {
namespace corrector {

void ICorrector::useData(const datasource::VignettingModel& /*source*/) {}
void ICorrector::useData(const datasource::UserSettings& /*source*/) {}
void ICorrector::useData(const datasource::Sensor& /*source*/) {}
void ICorrector::useData(const datasource::Photogrammetry& /*source*/) {}
void ICorrector::useData(const datasource::ParrotSequoiaCMOS& /*source*/) {}
void ICorrector::useData(const datasource::LightConditions& /*source*/) {}
void ICorrector::useData(const datasource::ImageMetadata& /*source*/) {}
void ICorrector::useData(const datasource::DarkCurrentModel& /*source*/) {}
void ICorrector::useData(const datasource::CoordinateSystems& /*source*/) {}
void ICorrector::useData(const datasource::CalibrationTarget& /*source*/) {}

void ICorrector::correct(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    if (isApplicable()) {
        apply(bands, blockOffset);
    }
}

} // namespace corrector

// The other half of the double dispatch. It stands here because data sources know no corrector.
namespace datasource {

void CoordinateSystems::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void ImageMetadata::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void LightConditions::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void Sensor::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void Photogrammetry::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void UserSettings::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void ParrotSequoiaCMOS::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void CalibrationTarget::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void DarkCurrentModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}
void VignettingModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace datasource
} // namespace tessik::radiometry
