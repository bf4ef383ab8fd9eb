#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

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

} // namespace tessik::radiometry::corrector
