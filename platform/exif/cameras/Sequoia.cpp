#include "platform/exif/cameras/Dialects.h"
#include "platform/exif/cameras/SequoiaIrradiance.h"

#include <cmath>

namespace tessik::exif {
namespace {

bool matchesSequoia(const Tags& tags) {
    return sequoia::isSequoia(QString::fromStdString(tags.exifText("Exif.Image.Make")),
                              QString::fromStdString(tags.exifText("Exif.Image.Model")));
}

/// A, B, C of irradiance = F^2 (DN - B) / (A t ISO + C).
void readSensorModel(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    exif.sensitivity.clear();
    exif.cmosCorrection.clear();
    if (tags.xmp("Camera", "SensorModel") == nullptr) {
        return;
    }
    const std::vector<double> model = tags.xmpNumbers("Camera", "SensorModel");
    if (model.size() != 3 || !(model[0] > 0.0) || !std::isfinite(model[0]) ||
        !std::isfinite(model[1]) || !std::isfinite(model[2])) {
        metadata.warnings.emplace_back("SensorModel does not hold three numbers; not used");
        return;
    }
    exif.sensitivity = {model[0]};
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, model[1])};
    exif.cmosCorrection = {model[2]};
}

/// Samples are 10 bits, shifted left by 6; the dark current is stated in 10 bits, the level of the
/// TIFF tag in 16.
void readDarkLevel(const Tags& tags, ExifInfo& exif) {
    constexpr double kShift = 64.0;
    if (readBlackLevel(tags, exif.bandCount).empty()) {
        for (Eigen::MatrixXd& level : exif.darkLevels) {
            level *= kShift;
        }
    }
}

void readSunSensor(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    const SequoiaIrradiance sun = decodeSequoiaIrradiance(
        tags.xmpText("Camera", "IrradianceList"),
        tags.xmpNumbers("Camera", "IrradianceCalibrationMeasurement"),
        readClock(tags, "Exif.Photo.DateTimeDigitized", "Exif.Photo.SubSecTimeDigitized"));
    exif.sunIrradiance.clear();
    if (sun.irradiance) {
        exif.sunIrradiance = {*sun.irradiance};
    }
    exif.sunSensorYawPitchRoll = sun.yawPitchRoll;
    if (!sun.reason.empty()) {
        metadata.warnings.push_back("IrradianceList: " + sun.reason);
    }
}

/// A Sequoia marks an image of a target by 1, besides the 2 of all cameras.
void readTarget(const Tags& tags, ExifInfo& exif) {
    constexpr double kOfTarget = 1.0;
    if (tags.xmpNumber("Camera", "CalibrationPicture") == kOfTarget) {
        exif.recordedTarget.isTarget = true;
    }
}

void readSequoia(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    readTarget(tags, exif);
    if (exif.bandCount != 1) {
        return; // the colour camera beside the four
    }
    readDarkLevel(tags, exif);
    readSensorModel(tags, metadata);
    readSunSensor(tags, metadata);
    if (exif.pixelType == DataType::UInt16) {
        exif.storedRange = {0.0, 65472.0}; // 10 bits, shifted left by 6
    }
}

} // namespace

const Dialect kSequoia = {&matchesSequoia, &readSequoia, kUtcClock};

} // namespace tessik::exif
