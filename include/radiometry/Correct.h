#pragma once

#include "radiometry/core/Account.h"
#include "radiometry/core/Types.h"
#include "radiometry/datasource/DataSources.h"

#include <Eigen/Core>

#include <vector>

namespace tessik::radiometry {

/// Corrects an image, or one block of it, in place. Values become proportional to scene radiance,
/// to reflectance, or equal to reflectance, by the settings and what the metadata hold; pixels
/// without a valid value become kNoData.
///
/// The rolling-shutter model counts rows from the block's first one: blocks of such cameras must
/// span the image's full height from row 0. Bad pixels are positions in the block: one that does
/// not begin at the image's first pixel needs metadata with a list of its own. Maps, clip limits
/// and all else follow blockOffset.
///
/// Thread safe for different bands; reads its other arguments.
///
/// @param image path, metadata, time and place, camera identifier
/// @param camera intrinsics: size, vignetting, range of stored values
/// @param externals pose, used for the sun angle only
/// @param sensitivity one value a band from a reflectance target, or empty
/// @param directSunlightFraction one value a band, 0..1
/// @param settings how far to correct
/// @param coordinateSystems used for the sun angle only
/// @param sequoiaModel parameters of this Sequoia band, or null
/// @param bands rows x columns of DN, one matrix a band
/// @param blockOffset (column, row) of the block's first pixel in the image
/// @throws error when data and bands do not fit each other; the bands are then partly corrected
RADIOMETRY_EXPORT void correct(const InputImage& image,
                               const CameraParams& camera,
                               const GlobalShutter& externals,
                               const std::vector<double>& sensitivity,
                               const Eigen::ArrayXd& directSunlightFraction,
                               const Settings& settings,
                               const geo::ProjectCoordinateSystems& coordinateSystems,
                               const sequoia::ModelParameter* sequoiaModel,
                               BandImage& bands,
                               Eigen::Vector2i blockOffset);

/// Does the same with maps that are shared between images of a camera or blocks of an image; see
/// datasource::Cache for when a cached map is right.
RADIOMETRY_EXPORT void correct(const InputImage& image,
                               const CameraParams& camera,
                               const GlobalShutter& externals,
                               const std::vector<double>& sensitivity,
                               const Eigen::ArrayXd& directSunlightFraction,
                               const Settings& settings,
                               const geo::ProjectCoordinateSystems& coordinateSystems,
                               const sequoia::ModelParameter* sequoiaModel,
                               const datasource::Cache& cache,
                               BandImage& bands,
                               Eigen::Vector2i blockOffset);

/// Does the same, and tells what was done.
/// @param accounts what each step that acted did is added, in their order; also where one fails
RADIOMETRY_EXPORT void correct(const InputImage& image,
                               const CameraParams& camera,
                               const GlobalShutter& externals,
                               const std::vector<double>& sensitivity,
                               const Eigen::ArrayXd& directSunlightFraction,
                               const Settings& settings,
                               const geo::ProjectCoordinateSystems& coordinateSystems,
                               const sequoia::ModelParameter* sequoiaModel,
                               const datasource::Cache& cache,
                               BandImage& bands,
                               Eigen::Vector2i blockOffset,
                               Accounts& accounts);

} // namespace tessik::radiometry
