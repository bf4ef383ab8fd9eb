#include "radiometry/VignettingModel.h"

#include "platform/log/Log.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

namespace tessik::radiometry::datasource {

VignettingModel::VignettingModel(const IVignettingModel& model) : m_inverseMap(model.map()) {
    m_inverseMap = m_inverseMap.cwiseInverse();
    TESSIK_LOG(logging::kInfo) << "Vignetting: " << model;
}

void VignettingModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace tessik::radiometry::datasource
