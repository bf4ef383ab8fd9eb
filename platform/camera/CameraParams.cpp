#include "platform/camera/CameraParams.h"

namespace tessik {

VignettingData CameraParams::vignettingModel(double /*apertureFNumber*/) const {
    return vignetting;
}

bool CameraParams::pixelValue(DataType type, double& min, double& max) const {
    // What cameras state concerns their 16-bit files; 8-bit ones use all their values.
    if (!storedRange || type != DataType::UInt16) {
        return false;
    }
    min = storedRange->first;
    max = storedRange->second;
    return true;
}

} // namespace tessik
