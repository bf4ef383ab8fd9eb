#pragma once

/// @file
/// The steps of a correction.

#include "radiometry/core/Account.h"
#include "radiometry/core/Types.h"
#include "radiometry/datasource/DataSources.h"

#include <Eigen/Core>
#include <boost/noncopyable.hpp>

#include <memory>
#include <string>
#include <vector>

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

    /// Acts, if it is applicable, which is asked once.
    /// @param blockOffset (column, row) of the block's first pixel in the image
    void correct(BandImage& bands, const Eigen::Vector2i& blockOffset) const;

protected:
    [[nodiscard]] virtual bool isApplicable() const = 0;
    virtual void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const = 0;

private:
    friend class Pipeline; ///< asks and runs the steps of a chain
};

using Chain = std::vector<std::unique_ptr<ICorrector>>;

/// The chain for an image, from its metadata only; which correctors act is theirs to decide.
RADIOMETRY_EXPORT Chain create(const ExifInfo& exif);

/// Feeds one corrector with all sources.
RADIOMETRY_EXPORT void feed(ICorrector& corrector,
                            const std::vector<datasource::DataSourcePointer>& dataSources);

/// Runs the chain: each corrector in turn is fed when those before it have acted, is asked once
/// whether it is applicable, and then acts.
/// @throws what a corrector throws; those before it have then acted on all pixels, those after it
/// are not run
RADIOMETRY_EXPORT void apply(const Chain& correctors,
                             const std::vector<datasource::DataSourcePointer>& dataSources,
                             BandImage& bands,
                             const Eigen::Vector2i& blockOffset);

/// Does the same, and tells what was done.
/// @param accounts what each step that acted did is added, in their order; also where one fails
RADIOMETRY_EXPORT void apply(const Chain& correctors,
                             const std::vector<datasource::DataSourcePointer>& dataSources,
                             BandImage& bands,
                             const Eigen::Vector2i& blockOffset,
                             Accounts& accounts);

/// What a step of a chain would do.
struct Outlook {
    std::string name; ///< as in accounts; empty for a corrector of an application
    bool isApplicable = false;
};

/// Feeds and asks all correctors without running them; they must not be run later.
RADIOMETRY_EXPORT std::vector<Outlook>
outlook(const Chain& correctors, const std::vector<datasource::DataSourcePointer>& dataSources);

/// All names that the library's correctors have in accounts.
RADIOMETRY_EXPORT std::vector<std::string> names();

} // namespace tessik::radiometry::corrector
