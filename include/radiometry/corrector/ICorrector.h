#pragma once

#include "radiometry/Types.h"
#include "radiometry/datasource/DataSources.h"

#include <Eigen/Core>
#include <boost/noncopyable.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The steps of a correction.
namespace tessik::radiometry::corrector {

/// What a corrector has to do to the rows of an image, once everything that can fail is checked.
/// Correctors whose work on a pixel depends on that pixel alone offer it, so that a chain can take
/// a few rows through all steps while they are in the processor's cache.
struct RowWork {
    /// Works on rows [first, last) of all bands. Each row is done once, in any order. Empty = the
    /// corrector does not offer it.
    std::function<void(BandImage& bands, Eigen::Index first, Eigen::Index last)> run;
    /// To be called after the last row; may be empty.
    std::function<void()> finish;
};

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

    /// Checks that it can act on these bands, and says what it will do to their rows. The bands
    /// stay as they are; the work refers to this and to the data sources.
    /// @throws error as apply
    [[nodiscard]] virtual RowWork prepareRows(const BandImage& bands,
                                              const Eigen::Vector2i& blockOffset) const;

protected:
    [[nodiscard]] virtual bool isApplicable() const = 0;
    virtual void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const = 0;

    /// apply of a corrector that offers its work by rows.
    void applyByRows(BandImage& bands, const Eigen::Vector2i& blockOffset) const;
};

using Chain = std::vector<std::unique_ptr<ICorrector>>;

/// The chain for an image, from its metadata alone; which correctors act is theirs to decide.
RADIOMETRY_EXPORT Chain create(const ExifInfo& exif);

/// Feeds one corrector with all sources.
RADIOMETRY_EXPORT void feed(ICorrector& corrector,
                            const std::vector<datasource::DataSourcePointer>& dataSources);

/// Runs the chain: each corrector is fed, then acts if it is applicable. Steps that follow each
/// other and offer their work by rows are run together, a few rows at a time.
RADIOMETRY_EXPORT void apply(const Chain& correctors,
                             const std::vector<datasource::DataSourcePointer>& dataSources,
                             BandImage& bands,
                             const Eigen::Vector2i& blockOffset);

/// Class name of a corrector without its name space, for people and reports.
RADIOMETRY_EXPORT std::string name(const ICorrector& corrector);

} // namespace tessik::radiometry::corrector
