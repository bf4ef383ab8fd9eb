#pragma once

#include "platform/camera/CameraParams.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/export.h"

#include <QtCore/QHash> // std::hash of QString
#include <QtCore/QString>

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry::sequoia {

/// Path of the model file of each body, by the serial number that its images state.
using CalibrationFiles = std::unordered_map<QString, QString>;

/// The number that a serial number is known by in a map: its value where it is all decimal digits
/// and below 2^64, else ("PI040378AA6C000181") the 64-bit FNV-1a hash of its UTF-8 text.
RADIOMETRY_EXPORT std::uint64_t serialNumberKey(const QString& serialNumber);

/// Loads the factory's models of a project's Sequoia cameras, each model file once, with the
/// thermal profile "sequoia_therm.dat" in the model file's folder; docs/file-formats.md describes
/// both.
///
/// A body has four cameras, one a band, and one serial number: the model in this map is that of the
/// first of them, in the order of `cameras`, whose band the model file holds; with a warning that
/// of band Green where none names such a band. Where every camera needs its own, use
/// loadFactoryCalibrationByCamera. Promised: docs/contract.md, by-serial.
///
/// Never throws for a bad file: it warns and does without. A file that cannot be read, or that
/// belongs to another body (w0501), leaves the body out; without a thermal profile (w0502) the
/// model file's own temperature coefficients stay. Serial numbers are compared as text. Bodies that
/// `calibrationFiles` does not name are left out without a word.
///
/// @param images the project's images; they tell serial number and band of their cameras
/// @return models by serialNumberKey
RADIOMETRY_EXPORT std::unordered_map<std::uint64_t, ModelParameter>
loadFactoryCalibration(const CalibrationFiles& calibrationFiles,
                       const CamerasData& cameras,
                       const std::vector<InputImage>& images);

/// As above, each camera with the model of its own band. A camera whose images state different
/// serial numbers is left out: no model is right for all of them; so is, with a warning, one that
/// names no band of its body's model file.
/// @return models by camera identifier
RADIOMETRY_EXPORT std::unordered_map<std::uint64_t, ModelParameter>
loadFactoryCalibrationByCamera(const CalibrationFiles& calibrationFiles,
                               const CamerasData& cameras,
                               const std::vector<InputImage>& images);

} // namespace tessik::radiometry::sequoia
