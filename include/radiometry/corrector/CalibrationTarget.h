#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Divides each band by its sensitivity, the value of a surface of reflectance 1: values become
/// reflectance.
class RADIOMETRY_EXPORT CalibrationTarget final : public ICorrector {
public:
    CalibrationTarget();
    ~CalibrationTarget() override;

    using ICorrector::useData;
    void useData(const datasource::CalibrationTarget& source) override;

    [[nodiscard]] RowWork prepareRows(const BandImage& bands,
                                      const Eigen::Vector2i& blockOffset) const override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
