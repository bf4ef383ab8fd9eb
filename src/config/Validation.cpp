#include "radiometry/config/Validation.h"

#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/Conversions.h"
#include "platform/log/Log.h"
#include "radiometry/config/CorrectionSelection.h"
#include "radiometry/config/ExposureMetadata.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace tessik {
namespace {

constexpr int kImagesNamed = 5;

constexpr std::array<std::pair<radiometry::ImageCorrectionError, const char*>, 3> kTexts = {{
    {radiometry::ImageCorrectionError::MissingSunIrradiance, "no sun irradiance"},
    {radiometry::ImageCorrectionError::MissingSunIrradianceOrientation,
     "no orientation of the sun irradiance sensor"},
    {radiometry::ImageCorrectionError::MissingGeolocationValue, "no capture time"},
}};

bool isError(radiometry::ImageCorrectionError error) {
    return error != radiometry::ImageCorrectionError::None;
}

} // namespace

bool CorrectionError::hasErrors() const {
    return m_isOutputUnplaced ||
           std::any_of(m_imageErrors.begin(), m_imageErrors.end(), [](const auto& entry) {
               return isError(entry.second);
           });
}

QString text::toString(radiometry::ImageCorrectionError missing) {
    QStringList texts;
    for (const auto& [flag, text] : kTexts) {
        if (has(missing, flag)) {
            texts << QString::fromLatin1(text);
        }
    }
    return texts.join(QStringLiteral(", "));
}

QString text::toStringFull(const CorrectionError& error, const std::vector<InputImage>& images) {
    QStringList lines;
    if (error.isOutputUnplaced()) {
        lines << QStringLiteral("the output coordinate system cannot be converted to WGS 84");
    }
    if (!error.hasEnabledImages()) {
        lines << QStringLiteral("no enabled images");
    }
    int count = 0;
    for (const auto& [index, missing] : error.imageErrors()) {
        if (isError(missing) && ++count <= kImagesNamed) {
            const QString name =
                index < images.size() ? images[index].path : "image " + QString::number(index);
            lines << name + ": " + toString(missing);
        }
    }
    if (count > kImagesNamed) {
        lines << QStringLiteral("and %1 more").arg(count - kImagesNamed);
    }
    return lines.join(QStringLiteral("; "));
}

QString text::toString(radiometry::CorrectionType type) {
    if (!radiometry::doAnyCorrection(type)) {
        return QStringLiteral("no correction");
    }
    if (!radiometry::doIrradianceCorrection(type)) {
        return QStringLiteral("camera");
    }
    return radiometry::doSunAngleCorrection(type)
               ? QStringLiteral("camera, sun irradiance and sun angle")
               : QStringLiteral("camera and sun irradiance");
}

namespace radiometry {

void verifyValidRadiometricSettings(const CamerasData& cameras,
                                    const std::vector<InputImage>& images,
                                    std::unordered_map<std::size_t, Settings>& settings) {
    for (const auto& [id, camera] : cameras) {
        if (settings.count(id) == 0) {
            settings[id] = {guessRadiometricCorrectionTypeFromImage(images, id)};
        }
    }
}

CorrectionError getCorrectionError(const std::vector<InputImage>& images,
                                   const geo::OutCoordSystem& output,
                                   const geo::SiteCalibration& site,
                                   std::size_t cameraId,
                                   CorrectionType type) {
    CorrectionError result(doSunAngleCorrection(type) && !geo::isConvertibleToWGS84(output, site));
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (images[i].enabled && images[i].cameraId == cameraId) {
            result.setImageError(i, isInformationMissingForCorrection(images[i], type));
        }
    }
    return result;
}

bool haveAllInformationForCorrection(const CamerasData& cameras,
                                     const std::vector<InputImage>& images,
                                     const std::unordered_map<std::size_t, Settings>& settings,
                                     const geo::OutCoordSystem& output,
                                     const geo::SiteCalibration& site) {
    for (const auto& [id, camera] : cameras) {
        const auto entry = settings.find(id);
        if (entry == settings.end()) {
            TESSIK_LOG(logging::kError) << "Error: camera model name " << camera.uniqueName
                                        << " does not have a valid radiometric correction type.";
            return false;
        }
        const CorrectionType type = entry->second.correctionType;
        const CorrectionError failure = getCorrectionError(images, output, site, id, type);
        if (failure.hasErrors() || !failure.hasEnabledImages()) {
            // Promised: docs/contract.md, code-e9035a.
            TESSIK_LOG(logging::kError)
                << QStringLiteral("Error e9035a: camera model name: %1, correction type: %2 - %3")
                       .arg(camera.uniqueName,
                            text::toString(type),
                            text::toStringFull(failure, images));
            return false;
        }
    }
    return true;
}

std::string whyNotToCorrect(const InputImage& image,
                            CorrectionType type,
                            const sequoia::ModelParameter* sequoiaModel) {
    const ExifInfo& exif = image.exif;
    if (exif.isNormalized) {
        return "already corrected";
    }
    if (!doAnyCorrection(type) || exif.isThermal) {
        return {}; // temperatures are what they are, whatever is said of exposure and light
    }
    if (exif.make.isEmpty() && exif.exposureTime == 0.0) {
        return "no camera metadata";
    }
    if (exif.exposureTime == 0.0 && !exif.isAirinovMultispec4C) {
        return "no exposure time in the metadata";
    }
    // Its optical models then do not act, and the values would stay as they are.
    if (sequoia::isSequoia(exif) && (exif.iso <= 0 || exif.apertureFNumber <= 0.0)) {
        return "no ISO or no f-number in the metadata, which the Sequoia's model needs";
    }
    if (!exif.sensitivity.empty() && !isSensitivityValid(exif.sensitivity)) {
        return "the sensitivity in the metadata is not above 0 in each band";
    }
    if (doIrradianceCorrection(type) && !exif::hasSunIrradiance(exif)) {
        return "no irradiance reading in the metadata";
    }
    if (doSunAngleCorrection(type) && !exif.uselessBands.empty()) {
        return "the sun angle cannot be corrected for a camera with a band that holds nothing of "
               "use; ask for --type irradiance";
    }
    if (doSunAngleCorrection(type) && !image.geo.position) {
        return "Unable to convert from output coordinate system to WGS-84: no position in the "
               "metadata";
    }
    if (sequoiaModel != nullptr && !exif.sensorTemperature) {
        return "no sensor temperature in the metadata, which the factory calibration needs";
    }
    return {};
}

} // namespace radiometry
} // namespace tessik
