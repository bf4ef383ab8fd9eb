#include "radiometry/datasource/DataSources.h"

#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/log/Log.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"
#include "radiometry/vignetting/VignettingModel.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tessik::radiometry::datasource {
namespace {

/// A text that is equal where all numbers are, bit for bit.
class Key {
public:
    template <typename... Numbers>
    Key& add(Numbers... numbers) {
        (append(&numbers, sizeof(numbers)), ...);
        return *this;
    }
    Key& add(const Eigen::MatrixXd& matrix) {
        add(matrix.rows(), matrix.cols());
        append(matrix.data(), static_cast<std::size_t>(matrix.size()) * sizeof(double));
        return *this;
    }
    /// A thing is the same while it lies in the same place.
    Key& addPlace(const void* thing) { return add(reinterpret_cast<std::uintptr_t>(thing)); }
    [[nodiscard]] const std::string& text() const { return m_text; }

private:
    void append(const void* data, std::size_t size) {
        m_text.append(static_cast<const char*>(data), size);
    }
    std::string m_text;
};

/// Patterns of sensors are known to have fewer rows than this.
constexpr Eigen::Index kLongestPeriod = 8;

/// After how many rows the map repeats itself, bit for bit; its height where it does not. `warm` of
/// bench/ChainBenchmark.cpp measures what it is worth that few rows of a map are read.
Eigen::Index rowPeriod(const BandMatrix& map) {
    for (Eigen::Index period = 1; period <= std::min(kLongestPeriod, map.rows() - 1); ++period) {
        const Eigen::Index shift = period * map.cols();
        const auto others = static_cast<std::size_t>(map.size() - shift);
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        if (std::memcmp(map.data(), map.data() + shift, others * sizeof(float)) == 0) {
            return period;
        }
    }
    return map.rows();
}

} // namespace

CalibrationTarget::CalibrationTarget(const std::vector<double>& sensitivity)
    : m_sensitivity(std::make_unique<Eigen::ArrayXd>(Eigen::Map<const Eigen::ArrayXd>(
          sensitivity.data(), static_cast<Eigen::Index>(sensitivity.size())))) {}

DataSourcePointer lookup(const Cache& cache, std::size_t cameraId, Type type) {
    const auto found = cache.find({cameraId, type});
    return found == cache.end() ? nullptr : found->second;
}

std::vector<DataSourcePointer> create(const InputImage& image,
                                      const CameraParams& camera,
                                      const GlobalShutter& externals,
                                      const geo::ProjectCoordinateSystems& coordinateSystems,
                                      const std::vector<double>& sensitivity,
                                      const Eigen::ArrayXd& directSunlightFraction,
                                      const Settings& settings,
                                      const sequoia::ModelParameter* sequoiaModel,
                                      const Cache& cache) {
    std::vector<DataSourcePointer> sources;
    const auto append = [&sources](DataSourcePointer source) {
        if (source) {
            sources.push_back(std::move(source));
        }
    };
    append(std::make_shared<CoordinateSystems>(coordinateSystems));
    append(std::make_shared<ImageMetadata>(image.path, image.exif, image.geo));
    append(std::make_shared<LightConditions>(directSunlightFraction));
    append(std::make_shared<Sensor>(camera));
    append(std::make_shared<Photogrammetry>(externals));
    append(std::make_shared<UserSettings>(settings));
    if (sequoiaModel != nullptr) {
        append(std::make_shared<ParrotSequoiaCMOS>(sequoiaModel->cmos));
    }
    DataSourcePointer darkCurrent = lookup(cache, image.cameraId, Type::DarkCurrentModel);
    append(darkCurrent ? darkCurrent : createDarkCurrentSource(image.exif, sequoiaModel));
    DataSourcePointer vignetting = lookup(cache, image.cameraId, Type::VignettingModel);
    append(vignetting ? vignetting
                      : createVignettingSource(camera, image.exif.apertureFNumber, sequoiaModel));
    if (!sensitivity.empty()) {
        append(std::make_shared<CalibrationTarget>(sensitivity));
    }
    return sources;
}

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) {
    auto maps = std::make_shared<Maps>();
    maps->bands = model.map();
    maps->rowPeriods.reserve(maps->bands.size());
    for (const BandMatrix& map : maps->bands) {
        maps->rowPeriods.push_back(rowPeriod(map));
    }
    m_maps = std::move(maps);
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

DataSourcePointer createDarkCurrentSource(const ExifInfo& exif,
                                          const sequoia::ModelParameter* sequoiaModel) {
    if (exif.darkLevels.empty() && sequoiaModel == nullptr) {
        return nullptr;
    }
    return std::make_shared<DarkCurrentModel>(*createDarkCurrentModel(exif, sequoiaModel));
}

std::string darkCurrentKey(const ExifInfo& exif, const sequoia::ModelParameter* sequoiaModel) {
    Key key;
    key.addPlace(sequoiaModel);
    if (sequoiaModel != nullptr) {
        return key.add(exif.iso, exif.sensorTemperature.value_or(0.0)).text();
    }
    key.add(exif.imageWidth, exif.imageHeight, exif.bandCount);
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        key.add(level);
    }
    return key.text();
}

VignettingModel::VignettingModel(const IVignettingModel& model) : m_inverseMap(model.map()) {
    m_inverseMap = m_inverseMap.cwiseInverse();
    TESSIK_LOG(logging::kInfo) << "Vignetting: " << model;
}

DataSourcePointer createVignettingSource(const CameraParams& camera,
                                         double apertureFNumber,
                                         const sequoia::ModelParameter* sequoiaModel) {
    VignettingData description;
    if (sequoiaModel == nullptr) {
        description = camera.vignettingModel(apertureFNumber);
    } else {
        description.coefficients = sequoiaModel->cmos.vignetting;
        description.type = VignettingType::Sequoia;
    }
    if (description.coefficients.size() == 0) {
        return nullptr;
    }
    return std::make_shared<VignettingModel>(*createVignettingModel(description, camera));
}

std::string vignettingKey(const CameraParams& camera,
                          double apertureFNumber,
                          const sequoia::ModelParameter* sequoiaModel) {
    Key key;
    key.addPlace(sequoiaModel).add(camera.width, camera.height);
    if (sequoiaModel != nullptr) {
        return key.text();
    }
    const VignettingData data = camera.vignettingModel(apertureFNumber);
    return key
        .add(camera.principalPointX, camera.principalPointY, data.type, data.centerX, data.centerY)
        .add(data.coefficients)
        .text();
}

} // namespace tessik::radiometry::datasource
