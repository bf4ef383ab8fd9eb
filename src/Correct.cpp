#include "radiometry/Correct.h"

#include "corrector/Pipeline.h"
#include "platform/camera/InputImage.h"
#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry {
namespace {

/// @param accounts null = nobody asks
void correctAndTell(const InputImage& image,
                    const CameraParams& camera,
                    const GlobalShutter& externals,
                    const std::vector<double>& sensitivity,
                    const Eigen::ArrayXd& directSunlightFraction,
                    const Settings& settings,
                    const geo::ProjectCoordinateSystems& coordinateSystems,
                    const sequoia::ModelParameter* sequoiaModel,
                    const datasource::Cache& cache,
                    BandImage& bands,
                    const Eigen::Vector2i& blockOffset,
                    Accounts* accounts) {
    const std::vector<datasource::DataSourcePointer> dataSources =
        datasource::create(image,
                           camera,
                           externals,
                           coordinateSystems,
                           sensitivity,
                           directSunlightFraction,
                           settings,
                           sequoiaModel,
                           cache);
    const corrector::Chain chain = corrector::create(image.exif);
    corrector::Pipeline(dataSources, bands, blockOffset, accounts).run(chain);
}

} // namespace

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
    correctAndTell(image,
                   camera,
                   externals,
                   sensitivity,
                   directSunlightFraction,
                   settings,
                   coordinateSystems,
                   sequoiaModel,
                   datasource::Cache(),
                   bands,
                   blockOffset,
                   nullptr);
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
    correctAndTell(image,
                   camera,
                   externals,
                   sensitivity,
                   directSunlightFraction,
                   settings,
                   coordinateSystems,
                   sequoiaModel,
                   cache,
                   bands,
                   blockOffset,
                   nullptr);
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
    correctAndTell(image,
                   camera,
                   externals,
                   sensitivity,
                   directSunlightFraction,
                   settings,
                   coordinateSystems,
                   sequoiaModel,
                   cache,
                   bands,
                   blockOffset,
                   &accounts);
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace tessik::radiometry
