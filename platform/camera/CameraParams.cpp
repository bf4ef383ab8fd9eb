#include "platform/camera/CameraParams.h"

namespace tessik {

VignettingData CameraParams::vignettingModel(double /*apertureFNumber*/) const {
    return vignetting;
}

bool CameraParams::pixelValue(DataType /*type*/, double& min, double& max) const {
    if (!storedRange) {
        return false;
    }
    min = storedRange->first;
    max = storedRange->second;
    return true;
}

} // namespace tessik
