#include "corrector/Pipeline.h"
#include "platform/camera/ExifInfo.h"
#include "radiometry/config/ExposureMetadata.h"
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

/// Brings the 8 bits that some Sequoia images hold to the 16 that their calibration speaks of.
constexpr float kSequoiaShift = 256.0F;

void appendOpticalCamera(const ExifInfo& exif, Chain& chain) {
    if (micasense::isMicaSense(exif) && micasense::hasValid3kModel(exif.micaSense3kModel)) {
        chain.push_back(std::make_unique<MicaSenseRedEdgeOpticalCamera>());
    } else if (exif.isAirinovMultispec4C) {
        chain.push_back(std::make_unique<AirinovMultispec4COpticalCameraV2_32>());
    } else if (sequoia::isSequoia(exif)) {
        // One acts without the factory's model of the band, the other with it.
        chain.push_back(std::make_unique<ParrotSequoiaOpticalCameraV1>());
        chain.push_back(std::make_unique<ParrotSequoiaOpticalCameraV2>());
    } else {
        chain.push_back(std::make_unique<BasicOpticalCamera>());
    }
}

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

Chain create(const ExifInfo& exif) {
    Chain chain;
    if (sequoia::isSequoia(exif) && exif.pixelType == DataType::UInt8 &&
        !isGammaTransformationApplied(exif)) {
        chain.push_back(std::make_unique<IntensityShift>(kSequoiaShift));
    }
    chain.push_back(std::make_unique<GammaRelinearisation>());
    chain.push_back(std::make_unique<BadPixelMasking>());
    chain.push_back(std::make_unique<BadExposureMasking>());
    chain.push_back(std::make_unique<DarkCurrent>());
    chain.push_back(std::make_unique<Vignetting>());
    chain.push_back(std::make_unique<ColorMatrix>());
    appendOpticalCamera(exif, chain);
    if (!exif.isAirinovMultispec4C) {
        chain.push_back(std::make_unique<SunSensor>());
    }
    chain.push_back(std::make_unique<CalibrationTarget>());
    chain.push_back(std::make_unique<ConvertNanToNodata>());
    return chain;
}

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
