#pragma once

#include "Kernels.h"
#include "radiometry/datasource/DataSources.h"

#include <optional>

namespace tessik::radiometry::corrector {

/// Dark current of one band's block: one value, or a map where it is not the same everywhere.
struct DarkLevel {
    using Map = decltype(std::declval<const BandMatrix&>().block(0, 0, 0, 0));
    float value;
    std::optional<Map> map;
};

/// @throws error when the block does not lie in the band's map
inline DarkLevel darkLevelOf(const datasource::DarkCurrentModel& model,
                             std::size_t band,
                             const BandMatrix& block,
                             const Eigen::Vector2i& blockOffset,
                             const char* context) {
    const auto map = blockOf(model.darkCurrentMap()[band], block, blockOffset, context);
    const std::optional<float> level = model.constantLevels()[band];
    return level ? DarkLevel{*level, std::nullopt} : DarkLevel{0.0F, map};
}

/// Calls work(pixel, dark current) for each pixel of rows [first, last).
template <typename Work>
void forRows(BandMatrix& band,
             const DarkLevel& dark,
             Eigen::Index first,
             Eigen::Index last,
             const Work& work) {
    for (Eigen::Index r = first; r < last; ++r) {
        float* pixel = &band(r, 0);
        if (!dark.map) {
            for (Eigen::Index c = 0; c < band.cols(); ++c) {
                work(pixel[c], dark.value);
            }
            continue;
        }
        const float* level = &dark.map->coeffRef(r, 0);
        for (Eigen::Index c = 0; c < band.cols(); ++c) {
            work(pixel[c], level[c]);
        }
    }
}

} // namespace tessik::radiometry::corrector
