#include "flight/run/MapCache.h"

#include <algorithm>
#include <utility>

namespace tessik::flight {

namespace datasource = radiometry::datasource;

void MapCache::makeRoomFor(std::uint64_t cameraId) {
    m_cameras.erase(std::remove(m_cameras.begin(), m_cameras.end(), cameraId), m_cameras.end());
    if (m_cameras.size() >= m_cameraCount) {
        for (const auto type :
             {datasource::Type::DarkCurrentModel, datasource::Type::VignettingModel}) {
            m_entries.erase({m_cameras.front(), type});
        }
        m_cameras.erase(m_cameras.begin());
    }
    m_cameras.push_back(cameraId);
}

datasource::Cache MapCache::mapsFor(const InputImage& image,
                                    const CameraParams& camera,
                                    const radiometry::sequoia::ModelParameter* sequoiaModel) {
    datasource::Cache cache;
    const ExifInfo& exif = image.exif;
    const std::lock_guard lock(m_mutex);
    makeRoomFor(image.cameraId);
    const auto provide = [&](datasource::Type type, std::string key, auto&& make) {
        const datasource::CacheKey place{image.cameraId, type};
        const auto [entry, isNew] = m_entries.try_emplace(place);
        if (isNew || entry->second.key != key) {
            entry->second = {std::move(key), make()};
        }
        if (entry->second.source) {
            cache[place] = entry->second.source;
        }
    };
    provide(datasource::Type::DarkCurrentModel,
            datasource::darkCurrentKey(exif, sequoiaModel),
            [&] { return datasource::createDarkCurrentSource(exif, sequoiaModel); });
    provide(datasource::Type::VignettingModel,
            datasource::vignettingKey(camera, exif.apertureFNumber, sequoiaModel),
            [&] {
                return datasource::createVignettingSource(
                    camera, exif.apertureFNumber, sequoiaModel);
            });
    return cache;
}

} // namespace tessik::flight
