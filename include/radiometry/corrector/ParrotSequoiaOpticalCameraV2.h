#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Makes values of different exposures of a Sequoia band comparable by the factory's model, pixel
/// by pixel: N^2 / ((t + deltaTau) * ISO * gain). The model's grid may be coarser than the image by
/// one whole factor; its even and odd rows belong to two row fields and are enlarged apart. Acts
/// where there is a factory model; exposure values that are missing or not positive keep it from
/// acting, with a warning.
/// Source: docs/formulas.md, Parrot Sequoia, with a model file; grids are enlarged as in Keys 1981.
class RADIOMETRY_EXPORT ParrotSequoiaOpticalCameraV2 : public RowStep {
public:
    static constexpr const char* kName = "ParrotSequoiaOpticalCameraV2"; ///< in accounts

    ParrotSequoiaOpticalCameraV2();
    ~ParrotSequoiaOpticalCameraV2() override;

    using ICorrector::useData;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::ParrotSequoiaCMOS& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] bool mayWarnWhenAsked() const override { return true; }
    /// @throws error when the grid does not fit the image, or the block does not lie in it
    /// @throws std::runtime_error when a row field of the grid is smaller than 2 x 2
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
