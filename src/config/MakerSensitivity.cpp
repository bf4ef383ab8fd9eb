#include "radiometry/config/MakerSensitivity.h"

#include "platform/camera/ExifInfo.h"
#include "radiometry/config/ExposureMetadata.h"

namespace tessik::radiometry {

std::vector<double> makerSensitivity(const ExifInfo& exif, CorrectionType type) {
    constexpr double kMicaSense = 655.36;
    if (!micasense::isMicaSense(exif) || !micasense::hasValid3kModel(exif.micaSense3kModel) ||
        !doIrradianceCorrection(type) || !isSensitivityValid(exif.sensitivity)) {
        return {};
    }
    return std::vector<double>(exif.sensitivity.size(), kMicaSense);
}

} // namespace tessik::radiometry
