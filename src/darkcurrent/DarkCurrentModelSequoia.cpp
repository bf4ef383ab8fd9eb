#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/cameras/sequoia/Physics.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"

#include <ostream>

namespace tessik::radiometry {

struct DarkCurrentModelSequoia::Data {
    const ExifInfo& exif;
    const sequoia::DarkCurrentParameter& parameter;
};

DarkCurrentModelSequoia::DarkCurrentModelSequoia(const ExifInfo& exif,
                                                 const sequoia::DarkCurrentParameter& parameter)
    : m_data(std::make_unique<Data>(Data{exif, parameter})) {}

DarkCurrentModelSequoia::~DarkCurrentModelSequoia() = default;

BandImage DarkCurrentModelSequoia::map() const {
    const ExifInfo& exif = m_data->exif;
    if (exif.iso < 1) {
        TESSIK_LOG(logging::kWarning) << "Invalid ISO read from exif";
    }
    const double temperature = exif.sensorTemperature.value();
    return {sequoia::darkCurrent(static_cast<double>(exif.iso), temperature, m_data->parameter)};
}

void DarkCurrentModelSequoia::print(std::ostream& os) const {
    const sequoia::DarkCurrentParameter& p = m_data->parameter;
    os << "Sequoia model: dark offset " << p.darkOffset << " temperature coefficient "
       << p.temperatureCoefficient << " dark pattern " << p.dark.rows() << "x" << p.dark.cols();
}

} // namespace tessik::radiometry
