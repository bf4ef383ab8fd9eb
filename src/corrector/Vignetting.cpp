#include "radiometry/corrector/Vignetting.h"

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

RowWork Vignetting::prepare(const RowTask& task) const {
    const BandMatrix& map = *m_data->inverseMap;
    for (const BandMatrix& band : task.bands) {
        verifyInside(map, band, task.blockOffset, "Correcting for vignetting");
    }
    return {[&map, offset = task.blockOffset](const Row& row) {
        loops::multiply(row.pixels, row.size, rowOfMap(map, offset, row));
    }};
}

} // namespace tessik::radiometry::corrector
