#pragma once

#include "radiometry/corrector/detail/Step.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Divides each band by the sun irradiance at the moment of the capture: values of a flight become
/// comparable when the light changes. From type CameraSunIrradianceAndSunAngle on, the reading is
/// first turned into that of a level sensor (correction::correctedSunIrradiance).
/// Source: docs/corrections.md, and Liu and Jordan 1960 for the light of the sky
/// (docs/formulas.md).
class RADIOMETRY_EXPORT SunSensor : public RowStep {
public:
    static constexpr const char* kName = "SunSensor"; ///< in accounts

    SunSensor();
    ~SunSensor() override;

    using ICorrector::useData;
    void useData(const datasource::CoordinateSystems& source) override;
    void useData(const datasource::ImageMetadata& source) override;
    void useData(const datasource::LightConditions& source) override;
    void useData(const datasource::Photogrammetry& source) override;
    void useData(const datasource::Sensor& source) override;
    void useData(const datasource::UserSettings& source) override;

protected:
    [[nodiscard]] bool isApplicable() const override;

private:
    [[nodiscard]] RowWork prepare(const RowTask& task) const override;

    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
