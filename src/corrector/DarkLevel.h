#pragma once

#include "corrector/Rows.h"
#include "radiometry/datasource/DataSources.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace tessik::radiometry::corrector {

/// Dark current of one band's block, in DN.
class DarkLevel {
public:
    using Maps = std::shared_ptr<const datasource::DarkCurrentModel::Maps>;

    /// One a band. @throws error when a block does not lie in its band's map
    static std::vector<DarkLevel> ofBands(const Maps& maps,
                                          const BandImage& bands,
                                          const Eigen::Vector2i& blockOffset,
                                          const char* context) {
        std::vector<DarkLevel> levels;
        levels.reserve(bands.size());
        for (std::size_t b = 0; b < bands.size(); ++b) {
            verifyInside(maps->bands[b], bands[b], blockOffset, context);
            levels.push_back(DarkLevel(maps, b, bands[b], blockOffset));
        }
        return levels;
    }

    [[nodiscard]] const float* ofRow(Eigen::Index row) const {
        return m_map->data() + (m_firstRow + row) % m_period * m_map->cols() + m_firstCol;
    }

    /// Mean of the block; NaN for an empty one.
    [[nodiscard]] double mean() const {
        double sum = 0.0;
        // Rows repeat: each is summed once, and counts as often as it is there.
        for (Eigen::Index r = 0; r < std::min(m_period, m_rows); ++r) {
            const Eigen::Map<const Eigen::ArrayXf> row(ofRow(r), m_cols);
            const Eigen::Index repetitions = (m_rows - r + m_period - 1) / m_period;
            sum += row.cast<double>().sum() * static_cast<double>(repetitions);
        }
        return sum / static_cast<double>(m_rows * m_cols);
    }

    /// Mean of the block, in storage order: m + (d - m) / n in float. NaN for an empty block.
    [[nodiscard]] float runningMean() const {
        float mean = m_rows * m_cols == 0 ? std::numeric_limits<float>::quiet_NaN() : 0.0F;
        float count = 0.0F;
        for (Eigen::Index r = 0; r < m_rows; ++r) {
            const float* dark = ofRow(r);
            for (Eigen::Index c = 0; c < m_cols; ++c) {
                count += 1.0F;
                mean += (dark[c] - mean) / count;
            }
        }
        return mean;
    }

private:
    DarkLevel(Maps maps,
              std::size_t band,
              const BandMatrix& block,
              const Eigen::Vector2i& blockOffset)
        : m_maps(std::move(maps)), m_map(&m_maps->bands[band]), m_period(m_maps->rowPeriods[band]),
          m_firstRow(blockOffset[1]), m_firstCol(blockOffset[0]), m_rows(block.rows()),
          m_cols(block.cols()) {}

    Maps m_maps;
    const BandMatrix* m_map;
    Eigen::Index m_period;
    Eigen::Index m_firstRow;
    Eigen::Index m_firstCol;
    Eigen::Index m_rows;
    Eigen::Index m_cols;
};

} // namespace tessik::radiometry::corrector
