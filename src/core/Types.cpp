#include "radiometry/core/Types.h"

namespace tessik::radiometry {

bool doAnyCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraOnly;
}

bool doIrradianceCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraAndSunIrradiance;
}

bool doSunAngleCorrection(CorrectionType type) {
    return type >= CorrectionType::CameraSunIrradianceAndSunAngle;
}

} // namespace tessik::radiometry
