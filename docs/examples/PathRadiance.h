#pragma once

#include <radiometry/core/Account.h>
#include <radiometry/corrector/ICorrector.h>

#include <utility>
#include <vector>

namespace example {

/// Takes out the light that the air between ground and camera scatters into the lens: subtracts one
/// value a band, in the unit of the camera correction. NaN stays NaN; results may be negative.
/// Source: Chavez, P. S. (1988), Remote Sensing of Environment 24: dark-object subtraction.
class PathRadiance : public tessik::radiometry::corrector::ICorrector,
                     public tessik::radiometry::IAccountable {
public:
    /// @param radiance one value a band, of the darkest object of the flight
    explicit PathRadiance(std::vector<double> radiance) : m_radiance(std::move(radiance)) {}

    using ICorrector::useData;
    void useData(const tessik::radiometry::datasource::UserSettings& source) override;

    [[nodiscard]] tessik::radiometry::Account account() const override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(tessik::BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    std::vector<double> m_radiance;
    bool m_isWanted = false;
};

} // namespace example
