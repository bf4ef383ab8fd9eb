#include "radiometry/corrector/Vignetting.h"

#include "Kernels.h"

namespace tessik::radiometry::corrector {

struct Vignetting::Data {
    const BandMatrix* inverseMap = nullptr;
};

Vignetting::Vignetting() : m_data(std::make_unique<Data>()) {}
Vignetting::~Vignetting() = default;

void Vignetting::useData(const datasource::VignettingModel& source) {
    m_data->inverseMap = &source.inverseVignettingMap();
}

bool Vignetting::isApplicable() const {
    return m_data->inverseMap != nullptr;
}

void Vignetting::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    for (BandMatrix& band : bands) {
        band.array() *=
            blockOf(*m_data->inverseMap, band, blockOffset, "Correcting for vignetting").array();
    }
}

} // namespace tessik::radiometry::corrector
