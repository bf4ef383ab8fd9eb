#pragma once

/// @file
/// What the metadata of an image say, and the questions that are asked of them.

#include "platform/camera/BandInfo.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/Gamma.h"
#include "platform/export.h"
#include "platform/image/DataType.h"

#include <Eigen/Core>
#include <QtCore/QString>

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace tessik {

/// Rolling-shutter coefficients of a MicaSense RedEdge: the exposure of row y is
/// t + k1 * y - k2 * t * y seconds. NaN = not stated.
struct MicaSenseRedEdge3kModelData {
    double k1 = std::numeric_limits<double>::quiet_NaN(); ///< s per row
    double k2 = std::numeric_limits<double>::quiet_NaN(); ///< 1 per row
};

/// What a camera that finds reflectance targets itself says of its image.
struct RecordedTarget {
    bool isTarget = false; ///< the image was taken of a target
    /// Corners of the target, px, from the centre of the first pixel; empty = not stated.
    std::vector<Eigen::Vector2d> corners;
    /// Reflectance of the target, one value a band, as stated; empty = not stated.
    std::vector<double> reflectance;
};

/// How the bands of a rig lie on each other, as a maker states it from its calibration. Matrices
/// turn homogeneous pixel positions.
struct StatedGeometry {
    /// fx, fy, cx, cy (px, the last two from the image centre), k1, k2, p1, p2, k3; empty = not
    /// stated.
    std::vector<double> lens;
    /// From the real image plane to the ideal one, which all bands share; absent = not stated.
    std::optional<Eigen::Matrix3d> idealFromReal;
    /// From the ideal plane to the image of the rig's colour camera; absent = not stated.
    std::optional<Eigen::Matrix3d> colorFromIdeal;
    /// Optical centre relative to that of the rig's reference band, px; absent = not stated.
    std::optional<Eigen::Vector2d> relativeOpticalCenter;
};

/// What an image's metadata says, in this system's units. Per-band lists are in band order.
struct ExifInfo {
    // Identity
    QString make;         ///< empty = not stated
    QString model;        ///< empty = not stated
    QString serialNumber; ///< of the camera body; empty = not stated
    QString rigName;      ///< name of the camera rig; empty = not stated
    /// Index of this camera in its rig, from 0; absent = not stated.
    std::optional<std::int32_t> rigCameraIndex;
    QString captureId; ///< shared by the files of one capture; empty = not stated

    // Image
    std::uint64_t imageWidth = 0;  ///< px
    std::uint64_t imageHeight = 0; ///< px
    std::uint64_t bandCount = 0;   ///< samples a pixel
    DataType pixelType = DataType::Unknown;
    std::vector<QString> bandNames; ///< one a band, or empty
    bands_t bands;                  ///< wavelengths, one a band, or empty
    /// Indices of bands that the camera itself says hold nothing of use, in rising order.
    std::vector<std::size_t> uselessBands;
    /// The samples are temperatures, in hundredths of a kelvin: neither exposure nor light has a
    /// part in them.
    bool isThermal = false;
    /// Range of the samples, of this pixel type, where the camera does not use the whole type;
    /// absent = whole type.
    std::optional<std::pair<double, double>> storedRange;
    /// Where samples clip when it depends on the row; absent = it does not.
    std::optional<ClipLine> clipLine;
    /// Principal point in px from the centre of the first pixel; absent = image centre.
    std::optional<Eigen::Vector2d> principalPoint;

    // Exposure
    double exposureTime = 0.0;    ///< s; 0 = not stated
    std::int32_t iso = 0;         ///< ISO speed; 0 = not stated
    double apertureFNumber = 0.0; ///< 0 = not stated

    // Radiometry
    /// Sensitivity of each band; empty = not stated.
    std::vector<double> sensitivity;
    /// Additive term of the exposure product of each band (Sequoia's C); empty = not stated.
    std::vector<double> cmosCorrection;
    /// Dark level of each band in DN: 1x1, or a pattern repeated over the image; empty = not
    /// stated.
    std::vector<Eigen::MatrixXd> darkLevels;
    /// Defective pixels (column, row) of each band; empty = no list.
    std::vector<std::vector<std::pair<std::int32_t, std::int32_t>>> badPixels;
    /// Relative brightness over the image; empty coefficients = not stated.
    VignettingData vignetting;
    /// Tone curve of each band; empty = values are linear.
    std::vector<gamma_t> gamma;
    /// Band mixing matrix, bands x bands; empty = not stated.
    Eigen::MatrixXd colorConversionMatrix;
    MicaSenseRedEdge3kModelData micaSense3kModel;
    /// Airinov multiSPEC 4C: samples are already normalised for exposure.
    bool isAirinovMultispec4C = false;
    /// The pixels are corrected already (by the camera or by this system).
    bool isNormalized = false;
    /// 1 = raw values that may be corrected; any other stated value = leave them alone;
    /// all ones = not stated.
    std::uint32_t radiometricIndicator = kIndicatorNotStated;
    /// The value of radiometricIndicator that means "not stated".
    static constexpr std::uint32_t kIndicatorNotStated = 0xFFFFFFFFU;
    /// Degrees Celsius; absent = not stated.
    std::optional<double> sensorTemperature;

    // Irradiance sensor
    /// Irradiance of each band, in the sensor's unit (W/m2/nm for MicaSense); empty = no reading.
    std::vector<double> sunIrradiance;
    /// The reading is that of a level surface: the maker has corrected it for the sensor's tilt.
    bool isSunIrradianceLevel = false;
    /// The maker asks for a mean of the readings over so many seconds; 0 = each stands by itself.
    double lightAveragingSeconds = 0.0;
    /// (omega, phi, kappa) of the irradiance sensor relative to the camera, degrees, as
    /// RotationMatrix::setOmegaPhiKappaRelative takes them: (0, 0, 0) is level when the camera
    /// looks straight down. Absent = unknown.
    std::optional<Eigen::Vector3f> sunSensorRelativeOrientation;
    /// The irradiance sensor's own (yaw, pitch, roll), degrees; absent = unknown.
    std::optional<Eigen::Vector3d> sunSensorYawPitchRoll;

    /// The camera's own (yaw, pitch, roll), degrees; absent = not stated.
    std::optional<Eigen::Vector3d> cameraYawPitchRoll;

    RecordedTarget recordedTarget;
    StatedGeometry statedGeometry;
};

namespace sequoia {
/// The maker and the model are those of a Parrot Sequoia.
TESSIK_PLATFORM_EXPORT bool isSequoia(const QString& make, const QString& model);
/// Taken by a Parrot Sequoia.
TESSIK_PLATFORM_EXPORT bool isSequoia(const ExifInfo& exif);
/// One of the cameras of a Parrot Sequoia.
TESSIK_PLATFORM_EXPORT bool isSequoia(const CameraData& camera);
} // namespace sequoia

namespace micasense {
/// The maker is MicaSense, in whatever case it is spelled.
TESSIK_PLATFORM_EXPORT bool isMicaSense(const QString& make);
/// A camera made by MicaSense.
TESSIK_PLATFORM_EXPORT bool isMicaSense(const ExifInfo& exif);
/// Both coefficients are stated and finite.
TESSIK_PLATFORM_EXPORT bool hasValid3kModel(const MicaSenseRedEdge3kModelData& model);
} // namespace micasense

namespace exif {
/// There is a positive, finite irradiance reading for each band.
TESSIK_PLATFORM_EXPORT bool hasSunIrradiance(const ExifInfo& exif);
/// The irradiance sensor's orientation relative to the camera is known.
TESSIK_PLATFORM_EXPORT bool hasSunIrradianceRelativeOrientation(const ExifInfo& exif);
/// The irradiance sensor's own yaw, pitch and roll are known.
TESSIK_PLATFORM_EXPORT bool hasSunIrradianceYawPitchRoll(const ExifInfo& exif);
/// The readings, one a band, in the sensor's unit; empty when there is none.
TESSIK_PLATFORM_EXPORT Eigen::ArrayXd sunIrradiance(const ExifInfo& exif);
/// The colour matrix is bands x bands and finite.
TESSIK_PLATFORM_EXPORT bool validColorConversionMatrix(const ExifInfo& exif);

/// Identifier of the camera that took an image: a hash of maker, model, serial number, place in the
/// rig, bands and image size; the same on every machine. Every band file of a rig is a camera.
TESSIK_PLATFORM_EXPORT std::uint64_t cameraId(const ExifInfo& exif);
/// "Make Model band (serial)", as far as stated.
TESSIK_PLATFORM_EXPORT QString cameraName(const ExifInfo& exif);
/// The camera's intrinsics as the metadata state them.
TESSIK_PLATFORM_EXPORT CameraParams cameraParams(const ExifInfo& exif);
} // namespace exif

} // namespace tessik
