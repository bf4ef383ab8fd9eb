#include "radiometry/DarkCurrentModel.h"

#include "Fail.h"

#include <ostream>

namespace tessik::radiometry {

std::ostream& operator<<(std::ostream& os, const IDarkCurrentModel& model) {
    model.print(os);
    return os;
}

std::unique_ptr<IDarkCurrentModel> createDarkCurrentModel(const ExifInfo& exif,
                                                          const sequoia::ModelParameter* model) {
    if (model != nullptr) {
        fail("Sequoia model parameters are not supported");
    }
    return std::make_unique<DarkCurrentModelBase>(exif);
}

} // namespace tessik::radiometry
