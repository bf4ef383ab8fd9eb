#include "platform/camera/ExifInfo.h"

#include "platform/text/Hash.h"
#include "platform/text/Text.h"

#include <algorithm>
#include <cmath>

namespace tessik {
namespace {

QString joined(const std::vector<QString>& names) {
    QString text;
    for (const QString& name : names) {
        text += (text.isEmpty() ? "" : ", ") + name;
    }
    return text;
}

} // namespace

bool sequoia::isSequoia(const QString& make, const QString& model) {
    return make == QLatin1String("Parrot") && model == QLatin1String("Sequoia");
}

bool sequoia::isSequoia(const ExifInfo& exif) {
    return isSequoia(exif.make, exif.model);
}

bool sequoia::isSequoia(const CameraData& camera) {
    return isSequoia(camera.make, camera.model);
}

bool micasense::isMicaSense(const QString& make) {
    return make.compare(QLatin1String("MicaSense"), Qt::CaseInsensitive) == 0;
}

bool micasense::isMicaSense(const ExifInfo& exif) {
    return isMicaSense(exif.make);
}

bool micasense::hasValid3kModel(const MicaSenseRedEdge3kModelData& model) {
    return std::isfinite(model.k1) && std::isfinite(model.k2);
}

bool exif::hasSunIrradiance(const ExifInfo& exif) {
    return !exif.sunIrradiance.empty() && exif.sunIrradiance.size() == exif.bandCount &&
           std::all_of(exif.sunIrradiance.begin(), exif.sunIrradiance.end(), [](double value) {
               return std::isfinite(value) && value > 0.0;
           });
}

bool exif::hasSunIrradianceRelativeOrientation(const ExifInfo& exif) {
    return exif.sunSensorRelativeOrientation.has_value() &&
           exif.sunSensorRelativeOrientation->allFinite();
}

bool exif::hasSunIrradianceYawPitchRoll(const ExifInfo& exif) {
    return exif.sunSensorYawPitchRoll.has_value() && exif.sunSensorYawPitchRoll->allFinite();
}

Eigen::ArrayXd exif::sunIrradiance(const ExifInfo& exif) {
    return Eigen::Map<const Eigen::ArrayXd>(exif.sunIrradiance.data(),
                                            static_cast<Eigen::Index>(exif.sunIrradiance.size()));
}

bool exif::validColorConversionMatrix(const ExifInfo& exif) {
    const auto bands = static_cast<Eigen::Index>(exif.bandCount);
    const Eigen::MatrixXd& matrix = exif.colorConversionMatrix;
    return bands > 0 && matrix.rows() == bands && matrix.cols() == bands && matrix.allFinite();
}

std::uint64_t exif::cameraId(const ExifInfo& exif) {
    QString text = text::compose(exif.make,
                                 "|",
                                 exif.model,
                                 "|",
                                 exif.serialNumber,
                                 "|",
                                 exif.rigName,
                                 "|",
                                 exif.rigCameraIndex.value_or(-1),
                                 "|",
                                 joined(exif.bandNames),
                                 "|",
                                 exif.imageWidth,
                                 "x",
                                 exif.imageHeight,
                                 "x",
                                 exif.bandCount);
    for (const BandInfo& band : exif.bands) {
        text += text::compose("|", band.wavelengthNm, "_", band.fwhmNm);
    }
    return text::hash(text.toStdString());
}

QString exif::cameraName(const ExifInfo& exif) {
    QString name = exif.make;
    const auto append = [&name](const QString& part) {
        if (!part.isEmpty()) {
            name += (name.isEmpty() ? "" : " ") + part;
        }
    };
    append(exif.model);
    append(joined(exif.bandNames));
    if (!exif.serialNumber.isEmpty()) {
        append("(" + exif.serialNumber + ")");
    }
    return name.isEmpty() ? QStringLiteral("unknown camera") : name;
}

CameraParams exif::cameraParams(const ExifInfo& exif) {
    CameraParams params;
    params.width = exif.imageWidth;
    params.height = exif.imageHeight;
    const Eigen::Vector2d point = exif.principalPoint.value_or(
        Eigen::Vector2d(0.5 * (static_cast<double>(exif.imageWidth) - 1.0),
                        0.5 * (static_cast<double>(exif.imageHeight) - 1.0)));
    params.principalPointX = point.x();
    params.principalPointY = point.y();
    params.vignetting = exif.vignetting;
    params.storedRange = exif.storedRange;
    params.clipLine = exif.clipLine;
    return params;
}

} // namespace tessik
