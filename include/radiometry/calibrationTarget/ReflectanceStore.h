#pragma once

/// @file
/// The store of known target reflectances, in the application's settings: a default-constructed
/// QSettings, whose organisation and application names the application sets. A value lies under
///
///     CalibrationTargets/<type>/<id>/<wavelength>_<width>     (nm, one decimal each)
///
/// so that two bands that agree to one decimal share one value. Functions may be called from
/// several threads; errors of the settings themselves are not reported.
///
/// Promised: docs/contract.md, one-decimal, text-is-zero, and range-in-db for the names.

#include "platform/camera/BandInfo.h"
#include "platform/camera/TargetDetector.h"
#include "platform/image/Region.h"
#include "radiometry/core/export.h"

#include <QtCore/QString>
#include <boost/optional.hpp>

#include <vector>

namespace tessik::radiometry {

/// One band of one physical target.
struct CalibrationTargetKey {
    TargetType type = TargetType::Unknown;
    QString id; ///< serial of the physical target
    BandInfo band;
};

/// A target, and what is known of it for the bands of a camera.
struct CalibrationTarget {
    TargetType type = TargetType::Unknown;
    QString id;                             ///< serial; empty = not known
    image::Ring region;                     ///< in the image that it was found in; may be empty
    std::vector<double> sensitivity;        ///< measured on it, one a band; may be empty
    std::vector<double> reflectanceFactors; ///< 0..1, one a band; 0 = not known
};

/// @return none when nothing is stored, or nothing that converts to a number. Text does: a number
/// typed into the settings file is that number, any other text 0.
RADIOMETRY_EXPORT boost::optional<float>
getCalibrationTargetReflectanceFromDb(const CalibrationTargetKey& key);

/// Stores the reflectance of one band, 0..1, in place of what was there.
RADIOMETRY_EXPORT void saveCalibrationTargetReflectanceInDb(const CalibrationTargetKey& key,
                                                            float reflectance);

/// Stores the factor of every band, rounded to float.
/// @throws error when there are fewer factors than bands; nothing is then stored
RADIOMETRY_EXPORT void saveCalibrationTargetReflectanceInDb(const CalibrationTarget& target,
                                                            const bands_t& bands);

/// Gives the target one factor a band: the stored one, else the one that it had, else 0.0.
RADIOMETRY_EXPORT void updateCalibrationTargetReflectanceFromDb(const bands_t& bands,
                                                                CalibrationTarget& target);

/// Everything that is stored, in the order of the key texts. Bands are as precise as those.
RADIOMETRY_EXPORT std::vector<CalibrationTargetKey> getCalibrationTargetKeysFromDb();

/// Forgets the reflectance of one band, if there is one.
RADIOMETRY_EXPORT void removeCalibrationTargetReflectanceFromDb(const CalibrationTargetKey& key);

} // namespace tessik::radiometry
