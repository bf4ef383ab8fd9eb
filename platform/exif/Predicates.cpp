#include "platform/exif/Predicates.h"

#include "platform/camera/CamerasData.h"

#include <algorithm>
#include <cmath>

namespace tessik {
namespace {

bool isSequoiaName(const QString& make, const QString& model) {
    return make == QLatin1String("Parrot") && model == QLatin1String("Sequoia");
}

} // namespace

bool sequoia::isSequoia(const ExifInfo& exif) {
    return isSequoiaName(exif.make, exif.model);
}

bool sequoia::isSequoia(const CameraData& camera) {
    return isSequoiaName(camera.make, camera.model);
}

bool micasense::isMicaSense(const ExifInfo& exif) {
    return exif.make.compare(QLatin1String("MicaSense"), Qt::CaseInsensitive) == 0;
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

} // namespace tessik
