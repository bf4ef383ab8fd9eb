#pragma once

#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "radiometry/datasource/DataSources.h"

#include <map>
#include <mutex>
#include <string>

namespace tessik::app {

/// Per-pixel maps shared between the images of a camera. A map is made anew when what it depends on
/// (dark levels, vignetting description, image size) changes from one image to the next. Thread
/// safe.
class MapCache {
public:
    /// The maps for an image, made or found.
    /// @param sequoiaModel null = none; must stay in place as long as this
    radiometry::datasource::Cache mapsFor(const InputImage& image,
                                          const CameraParams& camera,
                                          const radiometry::sequoia::ModelParameter* sequoiaModel);

private:
    struct Entry {
        std::string signature;
        radiometry::datasource::DataSourcePointer source;
    };

    std::mutex m_mutex;
    std::map<radiometry::datasource::CacheKey, Entry> m_entries;
};

} // namespace tessik::app
