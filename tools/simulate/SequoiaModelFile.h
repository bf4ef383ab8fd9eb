#pragma once

#include "simulate/SequoiaModel.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tessik::simulate {

/// Writes the factory's models of a body as the raster file that docs/file-formats.md describes.
/// @param models of Green, Red, Red edge and NIR, of one image size
/// @throws image::Error, exif::Error
void writeModelFile(const std::string& path,
                    const std::string& serialNumber,
                    const std::vector<SequoiaModel>& models);

/// Writes the thermal profile that lies beside a model file: of each band (name, coefficient).
/// @throws std::runtime_error
void writeThermalProfile(const std::string& path,
                         const std::string& serialNumber,
                         const std::vector<std::pair<std::string, double>>& coefficients);

} // namespace tessik::simulate
