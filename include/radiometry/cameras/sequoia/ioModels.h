#pragma once

#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/core/export.h"

#include <QtCore/QHash> // std::hash of QString
#include <QtCore/QString>

#include <tuple>
#include <unordered_map>

namespace tessik::radiometry::sequoia {

/// The models of a camera's bands by band name: "Green", "Red", "Red edge", "NIR".
using BandModels = std::unordered_map<QString, ModelParameter>;

/// Reads the factory's models of one camera; docs/file-formats.md describes the file. Whatever the
/// file holds, it is either understood or refused. Thread safe.
/// @return the camera's serial number (empty when the file states none), and its four bands
/// @throws error "Unable to read <path>" when it is not a raster image, or is damaged
/// @throws error "Incorrect format of parameter file <path>[ for band <name>]"
RADIOMETRY_EXPORT std::tuple<QString, BandModels> readModel(const QString& path);

/// Writes the models of one camera. The same models give the same bytes. The file appears whole or
/// not at all. Values are rounded to float.
/// @param models all four bands, with dark patterns of one size; other names are ignored
/// @throws error when a band is missing, sizes do not fit the format, or the file cannot be written
RADIOMETRY_EXPORT void
writeModel(const QString& path, const QString& serialNumber, const BandModels& models);

} // namespace tessik::radiometry::sequoia
