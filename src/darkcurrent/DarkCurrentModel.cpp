#include "radiometry/darkcurrent/DarkCurrentModel.h"

#include "radiometry/cameras/sequoia/ModelParameter.h"

#include <ostream>

namespace tessik::radiometry {

std::ostream& operator<<(std::ostream& os, const IDarkCurrentModel& model) {
    model.print(os);
    return os;
}

std::unique_ptr<IDarkCurrentModel> createDarkCurrentModel(const ExifInfo& exif,
                                                          const sequoia::ModelParameter* model) {
    if (model != nullptr) {
        return std::make_unique<DarkCurrentModelSequoia>(exif, model->darkCurrent);
    }
    return std::make_unique<DarkCurrentModelBase>(exif);
}

} // namespace tessik::radiometry
