#include "radiometry/datasource/DataSources.h"

#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"

namespace tessik::radiometry::datasource {

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

} // namespace tessik::radiometry::datasource
