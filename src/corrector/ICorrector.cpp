#include "radiometry/corrector/ICorrector.h"

#include "Kernels.h"

#include <boost/core/demangle.hpp>

#include <typeinfo>

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

RowWork ICorrector::prepareRows(const BandImage& /*bands*/,
                                const Eigen::Vector2i& /*blockOffset*/) const {
    return {};
}

void ICorrector::applyByRows(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    verifyOneSize(bands);
    const RowWork work = prepareRows(bands, blockOffset);
    work.run(bands, 0, bands.empty() ? 0 : bands.front().rows());
    if (work.finish) {
        work.finish();
    }
}

std::string name(const ICorrector& corrector) {
    const std::string full = boost::core::demangle(typeid(corrector).name());
    const auto colon = full.rfind(':');
    return colon == std::string::npos ? full : full.substr(colon + 1);
}

} // namespace tessik::radiometry::corrector
