#include "corrector/Names.h"

#include "radiometry/corrector/AirinovMultispec4COpticalCameraV2_32.h"
#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/BadPixelMasking.h"
#include "radiometry/corrector/BasicOpticalCamera.h"
#include "radiometry/corrector/CalibrationTarget.h"
#include "radiometry/corrector/ColorMatrix.h"
#include "radiometry/corrector/ConvertNanToNodata.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/corrector/GammaRelinearisation.h"
#include "radiometry/corrector/IntensityShift.h"
#include "radiometry/corrector/MicaSenseRedEdgeOpticalCamera.h"
#include "radiometry/corrector/ParrotSequoiaBias.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV1.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV2.h"
#include "radiometry/corrector/SunSensor.h"
#include "radiometry/corrector/Vignetting.h"

#include <typeinfo>
#include <utility>

namespace tessik::radiometry::corrector {
namespace {

using Named = std::pair<const std::type_info*, const char*>;

template <typename... Correctors>
std::vector<Named> named() {
    return {{&typeid(Correctors), Correctors::kName}...};
}

/// All correctors of the library: the one place where names are listed.
const std::vector<Named>& library() {
    static const auto all = named<IntensityShift,
                                  GammaRelinearisation,
                                  BadPixelMasking,
                                  BadExposureMasking,
                                  DarkCurrent,
                                  Vignetting,
                                  ColorMatrix,
                                  MicaSenseRedEdgeOpticalCamera,
                                  AirinovMultispec4COpticalCameraV2_32,
                                  ParrotSequoiaBias,
                                  ParrotSequoiaOpticalCameraV1,
                                  ParrotSequoiaOpticalCameraV2,
                                  BasicOpticalCamera,
                                  SunSensor,
                                  CalibrationTarget,
                                  ConvertNanToNodata>();
    return all;
}

} // namespace

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& [type, name] : library()) {
        all.emplace_back(name);
    }
    return all;
}

const char* libraryName(const ICorrector& corrector) {
    for (const auto& [type, name] : library()) {
        if (*type == typeid(corrector)) {
            return name;
        }
    }
    return nullptr;
}

} // namespace tessik::radiometry::corrector
