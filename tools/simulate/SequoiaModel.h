#pragma once

#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessik::simulate {

/// How the pixels of one band differ: what the factory of a Parrot Sequoia measures for each body.
/// A sample is, without noise,
///   darkOffset + ISO exp(k T) dark  +  L vignetting (t + deltaTau) ISO gain / F^2,
/// L the radiance in W/m2/sr/nm, T the sensor's temperature in degrees Celsius, t the exposure time
/// in s.
///
/// deltaTau and vignetting are smooth functions of where a pixel lies within its row field; even
/// and odd rows are two fields, read out one after the other. In an image of H rows and W columns
/// pixel (row r, column c) lies at
///   u = c / (W - 1),  v = floor(r / 2) / (H / 2 - 1)
/// of field r mod 2. The factory's grid is the same functions at the same places of an image of H/4
/// rows and W/4 columns: its corners lie on the image's corners, in each field. Both functions are
/// flat where a field ends, because nothing is known beyond it when grid points are interpolated.
/// With cubic convolution the largest error is 2.3e-4 of the value in an image of 320 x 240, 6e-5
/// in one of 640 x 480.
struct SequoiaModel {
    using Grid = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    /// Pixels for each grid point, in each direction.
    static constexpr Eigen::Index kFactor = 4;

    double darkOffset = 0.0;             ///< DN
    double temperatureCoefficient = 0.0; ///< k, 1 per degree Celsius
    double gain = 0.0;
    BandMatrix dark;   ///< of each pixel, DN at ISO 1 and 0 degrees Celsius
    Grid deltaTauGrid; ///< s
    Grid vignettingGrid;
    BandMatrix deltaTau; ///< of each pixel, s
    BandMatrix vignetting;

    /// @param width, height px; multiples of 4 and 8
    /// @throws std::invalid_argument when they are not
    SequoiaModel(std::size_t band, Eigen::Index width, Eigen::Index height, std::uint64_t seed);
};

/// Writes the factory's models of a body as the raster file that docs/file-formats.md describes.
/// @param models of Green, Red, Red edge and NIR, of one image size
/// @throws image::Error, exif::Error
void writeModelFile(const std::string& path,
                    const std::string& serialNumber,
                    const std::vector<SequoiaModel>& models);

/// Writes the thermal profile that lies beside a model file.
/// @param coefficients name and coefficient of each band
/// @throws std::runtime_error
void writeThermalProfile(const std::string& path,
                         const std::string& serialNumber,
                         const std::vector<std::pair<std::string, double>>& coefficients);

} // namespace tessik::simulate
