#include "radiometry/corrector/Vignetting.h"

#include "corrector/Blocks.h"
#include "corrector/Rows.h"

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

RowWork Vignetting::prepare(const BandImage& bands,
                            const Eigen::Vector2i& blockOffset,
                            Account* /*account*/) const {
    const BandMatrix& map = *m_data->inverseMap;
    for (const BandMatrix& band : bands) {
        verifyInside(map, band, blockOffset, "Correcting for vignetting");
    }
    return {[&map, blockOffset](const Row& row) {
                const float* inverse =
                    map.data() + (blockOffset[1] + row.index) * map.cols() + blockOffset[0];
                loops::multiply(row.pixels, row.size, inverse);
            },
            {}};
}

} // namespace tessik::radiometry::corrector
