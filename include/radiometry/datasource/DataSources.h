#pragma once

/// @file
/// What is known about the image being corrected, one kind of knowledge a class. Immutable. Sources
/// that hold references must not outlive what they refer to.

#include "platform/camera/GeoData.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>
#include <QtCore/QString>
#include <boost/functional/hash.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tessik::radiometry {

class IDarkCurrentModel;
class IVignettingModel;

namespace datasource {

class RADIOMETRY_EXPORT IDataSource {
public:
    IDataSource() = default;
    IDataSource(const IDataSource&) = delete;
    IDataSource& operator=(const IDataSource&) = delete;
    virtual ~IDataSource() = default;
    /// Hands itself to the corrector.
    virtual void accept(corrector::ICorrector& corrector) const = 0;
};

using DataSourcePointer = std::shared_ptr<const IDataSource>;

/// Reference to the project's coordinate systems.
class RADIOMETRY_EXPORT CoordinateSystems final : public IDataSource {
public:
    explicit CoordinateSystems(const geo::ProjectCoordinateSystems& cs) : m_cs(cs) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const geo::ProjectCoordinateSystems& cs() const { return m_cs; }

private:
    const geo::ProjectCoordinateSystems& m_cs;
};

/// The image's path (a copy), and references to its metadata and to when and where it was taken.
class RADIOMETRY_EXPORT ImageMetadata final : public IDataSource {
public:
    ImageMetadata(QString imagePath, const ExifInfo& exif, const GeoData& geo)
        : m_imagePath(std::move(imagePath)), m_exif(exif), m_geo(geo) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const QString& imagePath() const { return m_imagePath; }
    [[nodiscard]] const ExifInfo& exif() const { return m_exif; }
    [[nodiscard]] const GeoData& geo() const { return m_geo; }

private:
    QString m_imagePath;
    const ExifInfo& m_exif;
    const GeoData& m_geo;
};

/// Fraction of the irradiance that comes directly from the sun, one value a band, 0..1.
class RADIOMETRY_EXPORT LightConditions final : public IDataSource {
public:
    explicit LightConditions(Eigen::ArrayXd directSunlightFraction)
        : m_directSunlightFraction(std::move(directSunlightFraction)) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const Eigen::ArrayXd& directSunlightFraction() const {
        return m_directSunlightFraction;
    }

private:
    Eigen::ArrayXd m_directSunlightFraction;
};

/// Reference to the camera's intrinsic parameters.
class RADIOMETRY_EXPORT Sensor final : public IDataSource {
public:
    explicit Sensor(const CameraParams& params) : m_params(params) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const CameraParams& cameraParams() const { return m_params; }

private:
    const CameraParams& m_params;
};

/// Reference to the camera's pose.
class RADIOMETRY_EXPORT Photogrammetry final : public IDataSource {
public:
    explicit Photogrammetry(const GlobalShutter& externals) : m_externals(externals) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const GlobalShutter& cameraExternals() const { return m_externals; }

private:
    const GlobalShutter& m_externals;
};

/// The user's settings for this camera, a copy.
class RADIOMETRY_EXPORT UserSettings final : public IDataSource {
public:
    explicit UserSettings(Settings settings) : m_settings(std::make_unique<Settings>(settings)) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const Settings& settings() const { return *m_settings; }

private:
    std::unique_ptr<const Settings> m_settings;
};

/// Reference to the response parameters of a Sequoia band.
class RADIOMETRY_EXPORT ParrotSequoiaCMOS final : public IDataSource {
public:
    explicit ParrotSequoiaCMOS(const sequoia::CMOSParameter& parameter) : m_parameter(parameter) {}
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const sequoia::CMOSParameter& parameter() const { return m_parameter; }

private:
    const sequoia::CMOSParameter& m_parameter;
};

/// Dark current map of every band, in DN, height x width, computed once from a model.
class RADIOMETRY_EXPORT DarkCurrentModel final : public IDataSource {
public:
    /// The maps, which outlive the source where a corrector keeps them.
    struct Maps {
        std::vector<BandMatrix> bands;
        /// After how many rows each band's map repeats itself; its height where it does not. A
        /// sensor's pattern is a few rows, and those stay in the processor's cache where the map
        /// would not.
        std::vector<Eigen::Index> rowPeriods;
    };

    explicit DarkCurrentModel(const IDarkCurrentModel& model);
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const std::vector<BandMatrix>& darkCurrentMap() const { return m_maps->bands; }
    /// The maps, for those who may outlive this.
    [[nodiscard]] const std::shared_ptr<const Maps>& maps() const { return m_maps; }

private:
    std::shared_ptr<const Maps> m_maps;
};

/// One over the relative brightness of every pixel, height x width, computed once from a model.
class RADIOMETRY_EXPORT VignettingModel final : public IDataSource {
public:
    explicit VignettingModel(const IVignettingModel& model);
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const BandMatrix& inverseVignettingMap() const { return m_inverseMap; }

private:
    BandMatrix m_inverseMap;
};

/// Value that a surface of reflectance 1 has after all other corrections, one a band.
class RADIOMETRY_EXPORT CalibrationTarget final : public IDataSource {
public:
    explicit CalibrationTarget(const std::vector<double>& sensitivity);
    void accept(corrector::ICorrector& corrector) const override;
    [[nodiscard]] const Eigen::ArrayXd& sensitivity() const { return *m_sensitivity; }

private:
    std::unique_ptr<const Eigen::ArrayXd> m_sensitivity;
};

/// The kinds of source that the images of one camera may share.
enum class Type : std::int32_t { DarkCurrentModel = 0, VignettingModel = 1 };

using CacheKey = std::pair<std::size_t, Type>;

/// Shared sources by camera identifier and kind. The library only reads it. A cached map is right
/// only while its key (darkCurrentKey, vignettingKey) is that of the image: that is for the caller
/// to see to.
using Cache = std::unordered_map<CacheKey, DataSourcePointer, boost::hash<CacheKey>>;

/// The cached source, or null. Never inserts.
RADIOMETRY_EXPORT DataSourcePointer lookup(const Cache& cache, std::size_t cameraId, Type type);

/// The dark current maps of an image: the factory model's where there is one, else what the
/// metadata state; null when neither knows. @throws error as the model factory
RADIOMETRY_EXPORT DataSourcePointer
createDarkCurrentSource(const ExifInfo& exif, const sequoia::ModelParameter* sequoiaModel);

/// All that those maps depend on: dark levels and image size, or the model, ISO and sensor
/// temperature. Images of one key have the same maps. Bytes, for one run: a model counts as the
/// same where it lies in the same place.
RADIOMETRY_EXPORT std::string darkCurrentKey(const ExifInfo& exif,
                                             const sequoia::ModelParameter* sequoiaModel);

/// The inverse vignetting map of an image: the factory model's where there is one, else the
/// camera's; null when neither describes it. @throws error as the model factory
RADIOMETRY_EXPORT DataSourcePointer
createVignettingSource(const CameraParams& camera,
                       double apertureFNumber,
                       const sequoia::ModelParameter* sequoiaModel);

/// All that this map depends on: its description, the principal point and the image size. As
/// darkCurrentKey.
RADIOMETRY_EXPORT std::string vignettingKey(const CameraParams& camera,
                                            double apertureFNumber,
                                            const sequoia::ModelParameter* sequoiaModel);

/// All sources of one image: the six unconditional ones (coordinate systems, metadata, light,
/// sensor, pose, settings), then the Sequoia response, dark current, vignetting and target where
/// they apply.
///
/// @param sensitivity one value a band, or empty when no target was used
/// @param directSunlightFraction one value a band
/// @param sequoiaModel null where there is none
/// @throws error as the model factories
RADIOMETRY_EXPORT std::vector<DataSourcePointer>
create(const InputImage& image,
       const CameraParams& camera,
       const GlobalShutter& externals,
       const geo::ProjectCoordinateSystems& coordinateSystems,
       const std::vector<double>& sensitivity,
       const Eigen::ArrayXd& directSunlightFraction,
       const Settings& settings,
       const sequoia::ModelParameter* sequoiaModel,
       const Cache& cache);

} // namespace datasource
} // namespace tessik::radiometry
