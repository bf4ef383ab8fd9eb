#include "radiometry/vignetting/VignettingModel.h"

#include "datasource/Key.h"
#include "platform/camera/CameraParams.h"
#include "platform/log/Log.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/datasource/DataSources.h"

namespace tessik::radiometry::datasource {

VignettingModel::VignettingModel(const IVignettingModel& model) : m_inverseMap(model.map()) {
    m_inverseMap = m_inverseMap.cwiseInverse();
    TESSIK_LOG(logging::kInfo) << "Vignetting: " << model;
}

DataSourcePointer createVignettingSource(const CameraParams& camera,
                                         double apertureFNumber,
                                         const sequoia::ModelParameter* sequoiaModel) {
    VignettingData description;
    if (sequoiaModel == nullptr) {
        description = camera.vignettingModel(apertureFNumber);
    } else {
        description.coefficients = sequoiaModel->cmos.vignetting;
        description.type = VignettingType::Sequoia;
    }
    if (description.coefficients.size() == 0) {
        return nullptr;
    }
    return std::make_shared<VignettingModel>(*createVignettingModel(description, camera));
}

std::string vignettingKey(const CameraParams& camera,
                          double apertureFNumber,
                          const sequoia::ModelParameter* sequoiaModel) {
    Key key;
    key.addPlace(sequoiaModel).add(camera.width, camera.height);
    if (sequoiaModel != nullptr) {
        return key.text();
    }
    const VignettingData data = camera.vignettingModel(apertureFNumber);
    return key
        .add(camera.principalPointX, camera.principalPointY, data.type, data.centerX, data.centerY)
        .add(data.coefficients)
        .text();
}

} // namespace tessik::radiometry::datasource
