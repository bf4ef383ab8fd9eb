#include "radiometry/Correct.h"

#include "platform/camera/InputImage.h"
#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry {

// NOLINTBEGIN(performance-unnecessary-value-param): an offset is 8 bytes
void correct(const InputImage& image,
             const CameraParams& camera,
             const GlobalShutter& externals,
             const std::vector<double>& sensitivity,
             const Eigen::ArrayXd& directSunlightFraction,
             const Settings& settings,
             const geo::ProjectCoordinateSystems& coordinateSystems,
             const sequoia::ModelParameter* sequoiaModel,
             BandImage& bands,
             Eigen::Vector2i blockOffset) {
    correct(image,
            camera,
            externals,
            sensitivity,
            directSunlightFraction,
            settings,
            coordinateSystems,
            sequoiaModel,
            datasource::Cache(),
            bands,
            blockOffset);
}

void correct(const InputImage& image,
             const CameraParams& camera,
             const GlobalShutter& externals,
             const std::vector<double>& sensitivity,
             const Eigen::ArrayXd& directSunlightFraction,
             const Settings& settings,
             const geo::ProjectCoordinateSystems& coordinateSystems,
             const sequoia::ModelParameter* sequoiaModel,
             const datasource::Cache& cache,
             BandImage& bands,
             Eigen::Vector2i blockOffset) {
    corrector::apply(corrector::create(image.exif),
                     datasource::create(image,
                                        camera,
                                        externals,
                                        coordinateSystems,
                                        sensitivity,
                                        directSunlightFraction,
                                        settings,
                                        sequoiaModel,
                                        cache),
                     bands,
                     blockOffset);
}

void correct(const InputImage& image,
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
             Accounts& accounts) {
    corrector::apply(corrector::create(image.exif),
                     datasource::create(image,
                                        camera,
                                        externals,
                                        coordinateSystems,
                                        sensitivity,
                                        directSunlightFraction,
                                        settings,
                                        sequoiaModel,
                                        cache),
                     bands,
                     blockOffset,
                     accounts);
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace tessik::radiometry
