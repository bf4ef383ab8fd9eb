#include "PathRadiance.h"

#include <radiometry/core/Consistency.h>

namespace example {

namespace radiometry = tessik::radiometry;
using tessik::BandImage;

void PathRadiance::useData(const radiometry::datasource::UserSettings& source) {
    m_isWanted = doAnyCorrection(source.settings().correctionType);
}

bool PathRadiance::isApplicable() const {
    return m_isWanted;
}

void PathRadiance::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    radiometry::verifyConsistentNumberOfBands(
        bands.size(), m_radiance.size(), QStringLiteral("Correcting for path radiance"));
    for (std::size_t b = 0; b < bands.size(); ++b) {
        bands[b].array() -= static_cast<float>(m_radiance[b]);
    }
}

radiometry::Account PathRadiance::account() const {
    return {"PathRadiance", {{"radiance", "", m_radiance}}};
}

} // namespace example
