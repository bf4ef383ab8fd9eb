#include "radiometry/DarkCurrentModel.h"

#include "platform/log/Log.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

namespace tessik::radiometry::datasource {

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) : m_map(model.map()) {
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

void DarkCurrentModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace tessik::radiometry::datasource
