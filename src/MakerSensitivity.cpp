#include "radiometry/MakerSensitivity.h"

#include "platform/exif/ExifInfo.h"
#include "platform/exif/Predicates.h"
#include "radiometry/ExposureMetadata.h"

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
