#pragma once

#include "radiometry/Types.h"
#include "radiometry/datasource/DataSources.h"

#include <Eigen/Core>
#include <boost/noncopyable.hpp>

#include <memory>
#include <string>
#include <vector>

/// The steps of a correction.
namespace tessik::radiometry::corrector {

/// One step: takes what it needs from the data sources, decides whether it can act on this image,
/// and if so changes the bands in place. Built, fed and run once.
class RADIOMETRY_EXPORT ICorrector : private boost::noncopyable {
public:
    virtual ~ICorrector() = default;

    virtual void useData(const datasource::VignettingModel& source);
    virtual void useData(const datasource::UserSettings& source);
    virtual void useData(const datasource::Sensor& source);
    virtual void useData(const datasource::Photogrammetry& source);
    virtual void useData(const datasource::ParrotSequoiaCMOS& source);
    virtual void useData(const datasource::LightConditions& source);
    virtual void useData(const datasource::ImageMetadata& source);
    virtual void useData(const datasource::DarkCurrentModel& source);
    virtual void useData(const datasource::CoordinateSystems& source);
    virtual void useData(const datasource::CalibrationTarget& source);

    /// True when it would act with the data that it has.
    [[nodiscard]] bool wouldAct() const { return isApplicable(); }

    /// Acts, if it is applicable.
    /// @param blockOffset (column, row) of the block's first pixel in the image
    void correct(BandImage& bands, const Eigen::Vector2i& blockOffset) const;

protected:
    [[nodiscard]] virtual bool isApplicable() const = 0;
    virtual void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const = 0;
};

using Chain = std::vector<std::unique_ptr<ICorrector>>;

/// The chain for an image, from its metadata alone; which correctors act is theirs to decide.
RADIOMETRY_EXPORT Chain create(const ExifInfo& exif);

/// Feeds one corrector with all sources.
RADIOMETRY_EXPORT void feed(ICorrector& corrector,
                            const std::vector<datasource::DataSourcePointer>& dataSources);

/// Runs the chain: each corrector is fed, then acts if it is applicable.
RADIOMETRY_EXPORT void apply(const Chain& correctors,
                             const std::vector<datasource::DataSourcePointer>& dataSources,
                             BandImage& bands,
                             const Eigen::Vector2i& blockOffset);

/// Class name of a corrector without its name space, for people and reports.
RADIOMETRY_EXPORT std::string name(const ICorrector& corrector);

} // namespace tessik::radiometry::corrector
