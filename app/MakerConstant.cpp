#include "MakerConstant.h"

#include "platform/exif/Predicates.h"
#include "radiometry/ExposureMetadata.h"

namespace tessik::app {

std::vector<double> makerSensitivity(const ExifInfo& exif, radiometry::CorrectionType type) {
    constexpr double kMicaSense = 655.36;
    if (!micasense::isMicaSense(exif) || !micasense::hasValid3kModel(exif.micaSense3kModel) ||
        !doIrradianceCorrection(type) || !radiometry::isSensitivityValid(exif.sensitivity)) {
        return {};
    }
    return std::vector<double>(exif.sensitivity.size(), kMicaSense);
}

} // namespace tessik::app
