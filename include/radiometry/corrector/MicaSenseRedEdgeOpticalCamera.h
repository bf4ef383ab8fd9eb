#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// The RedEdge's rolling shutter: row r is exposed for t_r = t + k1 r - k2 t r seconds, and its
/// factor is N^2 / (t_r * S_b * ISO) / (largest sample value + 1). Rows count from the first row of
/// the matrix. Promised: docs/contract.md, rows-of-the-block.
///
/// Source: MicaSense, radiometric calibration model: L = V a1/g (p - p_BL) / (t + a2 y - a3 t y).
class RADIOMETRY_EXPORT MicaSenseRedEdgeOpticalCamera : public RowStep {
public:
    static constexpr const char* kName = "MicaSenseRedEdgeOpticalCamera"; ///< in accounts

    MicaSenseRedEdgeOpticalCamera();
    ~MicaSenseRedEdgeOpticalCamera() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    /// The factor of a row of the block.
    [[nodiscard]] float rowFactor(std::size_t band, Eigen::Index row) const;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
