#pragma once

/// @file
/// Measuring reflectance targets: from an image on disk to the sensitivity of its camera.

#include "platform/camera/CameraExternals.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/GeoData.h"
#include "platform/geo/CoordSystem.h"
#include "platform/image/Region.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>
#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry {
namespace detail {

/// Reads the target area of one image. Promised: docs/contract.md, reader-accessors.
class RADIOMETRY_EXPORT CalibrationTargetReader {
public:
    /// @param polygon the target, in pixels of the image; closed here if need be
    /// @param imageCS what the image's position is in
    CalibrationTargetReader(const QString& imagePath,
                            std::uint64_t imageIndex,
                            const image::Ring& polygon,
                            const CameraData& camera,
                            const ExifInfo& exif,
                            const GeoData& geo,
                            const geo::CoordSystem& imageCS);

    [[nodiscard]] const QString& imagePath() const { return m_imagePath; }
    [[nodiscard]] std::uint64_t imageIndex() const { return m_imageIndex; }
    [[nodiscard]] const image::Ring& polygon() const { return m_polygon; }
    [[nodiscard]] const CameraData& camera() const { return m_camera; }
    [[nodiscard]] const ExifInfo& exif() const { return m_exif; }
    [[nodiscard]] const GeoData& geo() const { return m_geo; }
    [[nodiscard]] const geo::CoordSystem& imageCS() const { return m_imageCS; }

    /// Both corners are pixels of the region; of a region without points, min lies beyond max.
    [[nodiscard]] image::Box boundingRect() const;

    /// The pixels of boundingRect, DN, one matrix a band.
    /// @throws error "Unable to open image file '..': ..", "Unable to read image '..'." (so too
    /// where the region leaves the image), "Empty image region"; and where the region crosses
    /// itself
    [[nodiscard]] std::vector<BandMatrix> loadReflectImageBlock();

    /// All pixels, after the same checks of the region. @throws error as loadReflectImageBlock
    [[nodiscard]] std::vector<BandMatrix> loadWholeImage();

private:
    QString m_imagePath;
    std::uint64_t m_imageIndex;
    image::Ring m_polygon;
    CameraData m_camera;
    ExifInfo m_exif;
    GeoData m_geo;
    geo::CoordSystem m_imageCS;
};

/// A target region as measured in the corrected image. The lists have one value a band.
struct RegionMeasurement {
    std::vector<double> mean;             ///< of the valid pixels
    std::vector<double> stdDev;           ///< of the sample
    std::vector<std::int64_t> validCount; ///< pixels that are not kNoData
    std::vector<std::int64_t> pixelCount; ///< positions inside the region or on its edge
    std::vector<double> sensitivity;      ///< mean / reflectance
    BandImage corrected;                  ///< the pixels of boundingRect; kNoData = invalid
    image::Box boundingRect{};            ///< of the region, in the image

    /// Share of the region's pixels that have no value, 0..1; 1 of a region without pixels.
    [[nodiscard]] double invalidShare(std::size_t band) const {
        return pixelCount[band] == 0 ? 1.0
                                     : 1.0 - static_cast<double>(validCount[band]) /
                                                 static_cast<double>(pixelCount[band]);
    }
};

/// Reads and corrects a target region, and measures it. Whether the numbers can be used is for
/// verifyMeasurement to say. Arguments as sensitivityFromDisk.
/// @throws error as sensitivityFromDisk, but for those of verifyMeasurement
RADIOMETRY_EXPORT RegionMeasurement
measureRegion(CalibrationTargetReader& reader,
              const std::vector<double>& reflectanceFactors,
              const Eigen::ArrayXd& directSunlightFraction,
              const Settings& settings,
              const geo::ProjectCoordinateSystems& coordinateSystems,
              const sequoia::ModelParameter* sequoiaModel);

/// Logs a measurement that can be used.
/// @throws error "Not enough valid pixels for band ..": fewer than 3; "Too many invalid pixels ..":
/// more than 5 %
RADIOMETRY_EXPORT void verifyMeasurement(const RegionMeasurement& measurement);

/// The corrected pixel value that a surface of reflectance 1 would have, one value a band: mean
/// over the target of the image corrected like any other, divided by the target's reflectance.
///
/// For the sun-angle types the camera is taken to have been level: targets are photographed from
/// the hand or from the ground, where no pose is computed.
///
/// @param reflectanceFactors one a band
/// @param directSunlightFraction one a band, for the sun-angle types
/// @param settings those that the camera's images are corrected with
/// @param sequoiaModel parameters of this Sequoia band, or null
/// @throws error as CalibrationTargetReader::loadReflectImageBlock, correct, verifyMeasurement, and
/// "Some reflectance factors are undefined." where one is 0 (to 0.0001) or not a number
RADIOMETRY_EXPORT std::vector<double>
sensitivityFromDisk(CalibrationTargetReader& reader,
                    const std::vector<double>& reflectanceFactors,
                    const Eigen::ArrayXd& directSunlightFraction,
                    const Settings& settings,
                    const geo::ProjectCoordinateSystems& coordinateSystems,
                    const sequoia::ModelParameter* sequoiaModel);

/// A level camera that looks straight down from the image's position, the upper edge of its image
/// north (GlobalShutter says what its axes are). A position without a height is taken to lie on the
/// ellipsoid.
/// @throws error when the image has no position, or it has no place in the output's system
RADIOMETRY_EXPORT GlobalShutter horizontalCameraAtGpsPosition(
    const GeoData& geo, const geo::ProjectCoordinateSystems& coordinateSystems);

/// For each camera the indices of its first and its last `count` enabled images in capture order,
/// each once. Images of a camera are ordered by capture time when all of them have one, else they
/// are in order as they stand.
RADIOMETRY_EXPORT std::unordered_map<std::uint64_t, std::vector<std::uint64_t>>
findFirstAndLastImagesPerSensor(const std::vector<InputImage>& images, std::size_t count = 1);

} // namespace detail
} // namespace tessik::radiometry
