#include "radiometry/cameras/sequoia/loadCalibration.h"

#include "cameras/sequoia/ThermalProfile.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/log/Log.h"
#include "platform/text/Hash.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/core/Types.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

namespace tessik::radiometry::sequoia {
namespace {

/// What a camera's images say of it.
struct CameraIdentity {
    std::vector<QString> serialNumbers; ///< distinct, in the order of the images
    QString bandName;                   ///< empty = not one band with a name
};

void learn(const ExifInfo& exif, CameraIdentity& camera) {
    std::vector<QString>& known = camera.serialNumbers;
    if (!exif.serialNumber.isEmpty() &&
        std::find(known.begin(), known.end(), exif.serialNumber) == known.end()) {
        known.push_back(exif.serialNumber);
    }
    if (camera.bandName.isEmpty() && exif.bandNames.size() == 1) {
        camera.bandName = exif.bandNames.front();
    }
}

std::map<std::uint64_t, CameraIdentity> sequoiaCameras(const CamerasData& cameras,
                                                       const std::vector<InputImage>& images) {
    std::map<std::uint64_t, CameraIdentity> result;
    for (const auto& [id, camera] : cameras) {
        if (isSequoia(camera)) {
            result.emplace(id, CameraIdentity());
        }
    }
    for (const InputImage& image : images) {
        if (const auto camera = result.find(image.cameraId); camera != result.end()) {
            learn(image.exif, camera->second);
        }
    }
    for (const auto& [id, camera] : result) {
        if (camera.serialNumbers.size() > 1) {
            QString numbers;
            for (const QString& number : camera.serialNumbers) {
                numbers += " " + number;
            }
            TESSIK_LOG(logging::kWarning)
                << "Camera ID " << id
                << " contains images with different serial numbers:" << numbers;
        }
    }
    return result;
}

void loadThermalProfile(const QString& modelPath, const QString& serialNumber, BandModels& models) {
    const QString path = QFileInfo(modelPath).dir().filePath("sequoia_therm.dat");
    try {
        applyThermalProfile(path, models);
    } catch (const error& failure) {
        TESSIK_LOG(logging::kWarning)
            << "w0502: Unable to load thermal profile " << path
            << " for Sequoia with serial number " << serialNumber << ": " << failure.what()
            << ". Results of this camera will have poor quality.";
    }
}

/// @return the models of a body's bands; absent when there is no file that can be used
std::optional<BandModels> loadModels(const CalibrationFiles& calibrationFiles,
                                     const QString& serialNumber) {
    const auto file = calibrationFiles.find(serialNumber);
    if (file == calibrationFiles.end()) {
        return std::nullopt;
    }
    const QString& path = file->second;
    try {
        auto [found, models] = readModel(path);
        if (found != serialNumber) {
            // Promised: docs/contract.md, codes-w.
            TESSIK_LOG(logging::kWarning) << "w0501: Serial number mismatch: " << path
                                          << " belongs to Sequoia with serial number " << found
                                          << " but requested was serial number " << serialNumber
                                          << ". The data cannot be used.";
            return std::nullopt;
        }
        loadThermalProfile(path, serialNumber, models);
        return std::move(models);
    } catch (const error& failure) {
        TESSIK_LOG(logging::kWarning)
            << "Sequoia with serial number " << serialNumber << ": " << failure.what();
        return std::nullopt;
    }
}

/// The model files of bodies. The four cameras of a body share one: it is read, and warned of,
/// once.
class ModelFiles {
public:
    explicit ModelFiles(const CalibrationFiles& files) : m_files(files) {}

    /// @return null when there is no file that can be used
    const BandModels* of(const QString& serialNumber) {
        auto models = m_loaded.find(serialNumber);
        if (models == m_loaded.end()) {
            models = m_loaded.emplace(serialNumber, loadModels(m_files, serialNumber)).first;
        }
        return models->second ? &*models->second : nullptr;
    }

private:
    const CalibrationFiles& m_files;
    std::map<QString, std::optional<BandModels>> m_loaded;
};

/// The band whose model a body is given when its cameras do not tell which band they are.
constexpr auto kAnyBand = "Green";

} // namespace

std::uint64_t serialNumberKey(const QString& serialNumber) {
    const bool isDecimal = std::all_of(serialNumber.begin(), serialNumber.end(), [](QChar c) {
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    });
    bool fits = false;
    const qulonglong value = serialNumber.toULongLong(&fits);
    return isDecimal && fits ? value : text::hash(serialNumber.toStdString());
}

std::unordered_map<std::uint64_t, ModelParameter>
loadFactoryCalibration(const CalibrationFiles& calibrationFiles,
                       const CamerasData& cameras,
                       const std::vector<InputImage>& images) {
    ModelFiles files(calibrationFiles);
    std::unordered_map<std::uint64_t, ModelParameter> result;
    std::map<QString, const BandModels*> bodies;
    for (const auto& [id, camera] : sequoiaCameras(cameras, images)) {
        for (const QString& serialNumber : camera.serialNumbers) {
            const BandModels* models = files.of(serialNumber);
            if (models == nullptr) {
                continue;
            }
            bodies.emplace(serialNumber, models);
            if (const auto model = models->find(camera.bandName); model != models->end()) {
                result.emplace(serialNumberKey(serialNumber), model->second); // the first stays
            }
        }
    }
    for (const auto& [serialNumber, models] : bodies) {
        if (result.emplace(serialNumberKey(serialNumber), models->at(kAnyBand)).second) {
            TESSIK_LOG(logging::kWarning)
                << "Sequoia with serial number " << serialNumber
                << ": no camera of it names a band of its model file; the model of band "
                << kAnyBand << " is taken.";
        }
    }
    return result;
}

std::unordered_map<std::uint64_t, ModelParameter>
loadFactoryCalibrationByCamera(const CalibrationFiles& calibrationFiles,
                               const CamerasData& cameras,
                               const std::vector<InputImage>& images) {
    ModelFiles files(calibrationFiles);
    std::unordered_map<std::uint64_t, ModelParameter> result;
    for (const auto& [id, camera] : sequoiaCameras(cameras, images)) {
        if (camera.serialNumbers.size() != 1) {
            continue;
        }
        const BandModels* models = files.of(camera.serialNumbers.front());
        if (models == nullptr) {
            continue;
        }
        if (const auto model = models->find(camera.bandName); model != models->end()) {
            result.emplace(id, model->second);
        } else {
            TESSIK_LOG(logging::kWarning)
                << "Camera ID " << id << " of Sequoia with serial number "
                << camera.serialNumbers.front() << " names no band of its model file ("
                << (camera.bandName.isEmpty() ? QStringLiteral("none") : camera.bandName)
                << "): it is corrected without.";
        }
    }
    return result;
}

} // namespace tessik::radiometry::sequoia
