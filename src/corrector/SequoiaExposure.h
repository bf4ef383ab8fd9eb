#pragma once

#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"

#include <string>

namespace tessik::radiometry::corrector {

/// What the optical models of the Sequoia need to know of an exposure, as the metadata state it:
/// unlike the generic model they need every value.
struct SequoiaExposure {
    double apertureFNumber = 1.0;
    double exposure = 1.0; ///< s
    double iso = 1.0;

    static SequoiaExposure of(const ExifInfo& exif) {
        return {exif.apertureFNumber, exif.exposureTime, static_cast<double>(exif.iso)};
    }

    /// Names of the values that are not positive (a NaN is not), each with a trailing blank.
    [[nodiscard]] std::string invalidNames() const {
        return std::string(apertureFNumber > 0.0 ? "" : "aperture F-number ") +
               (exposure > 0.0 ? "" : "exposure ") + (iso > 0.0 ? "" : "iso ");
    }
};

/// Said when a model is asked whether it applies. Promised: docs/contract.md, question-that-warns.
inline void warnOfInvalidTags(const std::string& names) {
    TESSIK_LOG(logging::kWarning) << "Missing or incorrect exif tag for " << names;
}

} // namespace tessik::radiometry::corrector
