#include "radiometry/darkcurrent/DarkCurrentModel.h"

#include "datasource/Key.h"
#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/datasource/DataSources.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace tessik::radiometry::datasource {
namespace {

/// Of the longest pattern that a sensor is known to have, and some more.
constexpr Eigen::Index kLongestPeriod = 8;

/// The very bits repeat.
Eigen::Index rowPeriod(const BandMatrix& map) {
    for (Eigen::Index period = 1; period <= std::min(kLongestPeriod, map.rows() - 1); ++period) {
        const Eigen::Index shift = period * map.cols();
        const auto others = static_cast<std::size_t>(map.size() - shift);
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        if (std::memcmp(map.data(), map.data() + shift, others * sizeof(float)) == 0) {
            return period;
        }
    }
    return map.rows();
}

} // namespace

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) {
    auto maps = std::make_shared<Maps>();
    maps->bands = model.map();
    maps->rowPeriods.reserve(maps->bands.size());
    for (const BandMatrix& map : maps->bands) {
        maps->rowPeriods.push_back(rowPeriod(map));
    }
    m_maps = std::move(maps);
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

DataSourcePointer createDarkCurrentSource(const ExifInfo& exif,
                                          const sequoia::ModelParameter* sequoiaModel) {
    if (exif.darkLevels.empty() && sequoiaModel == nullptr) {
        return nullptr;
    }
    return std::make_shared<DarkCurrentModel>(*createDarkCurrentModel(exif, sequoiaModel));
}

std::string darkCurrentKey(const ExifInfo& exif, const sequoia::ModelParameter* sequoiaModel) {
    Key key;
    key.addPlace(sequoiaModel);
    if (sequoiaModel != nullptr) {
        return key.add(exif.iso, exif.sensorTemperature.value_or(0.0)).text();
    }
    key.add(exif.imageWidth, exif.imageHeight, exif.bandCount);
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        key.add(level);
    }
    return key.text();
}

} // namespace tessik::radiometry::datasource
