#pragma once

#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "radiometry/datasource/DataSources.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tessik::flight {

/// Per-pixel maps shared between the images of a camera. A map is made again when its key changes
/// from one image to the next. Thread safe.
///
/// Maps take 8 bytes a pixel a camera, so only those of the cameras last asked for are kept: a run
/// goes camera by camera.
class MapCache {
public:
    /// @param cameraCount how many cameras' maps are kept
    explicit MapCache(std::size_t cameraCount) : m_cameraCount(cameraCount) {}

    /// The maps for an image, made or found.
    /// @param sequoiaModel null = no model; must stay in place as long as this
    radiometry::datasource::Cache mapsFor(const InputImage& image,
                                          const CameraParams& camera,
                                          const radiometry::sequoia::ModelParameter* sequoiaModel);

private:
    struct Entry {
        std::string key;
        radiometry::datasource::DataSourcePointer source;
    };

    void makeRoomFor(std::uint64_t cameraId);

    std::size_t m_cameraCount;
    std::mutex m_mutex;
    std::vector<std::uint64_t> m_cameras; ///< the one last asked for at the end
    std::map<radiometry::datasource::CacheKey, Entry> m_entries;
};

} // namespace tessik::flight
