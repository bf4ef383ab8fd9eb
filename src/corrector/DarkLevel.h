#pragma once

#include "Kernels.h"
#include "radiometry/datasource/DataSources.h"

namespace tessik::radiometry::corrector {

/// Dark current of one band's block, in DN.
class DarkLevel {
public:
    /// @throws error when the block does not lie in the band's map
    DarkLevel(const datasource::DarkCurrentModel& model,
              std::size_t band,
              const BandMatrix& block,
              const Eigen::Vector2i& blockOffset,
              const char* context)
        : m_map(model.darkCurrentMap()[band]), m_period(model.rowPeriods()[band]),
          m_firstRow(blockOffset[1]), m_firstCol(blockOffset[0]) {
        (void)blockOf(m_map, block, blockOffset, context);
    }

    [[nodiscard]] const float* ofRow(Eigen::Index row) const {
        return m_map.data() + (m_firstRow + row) % m_period * m_map.cols() + m_firstCol;
    }

private:
    const BandMatrix& m_map;
    Eigen::Index m_period;
    Eigen::Index m_firstRow;
    Eigen::Index m_firstCol;
};

} // namespace tessik::radiometry::corrector
