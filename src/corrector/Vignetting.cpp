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

RowWork Vignetting::prepareRows(const BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    using Map = decltype(blockOf(*m_data->inverseMap, bands.front(), blockOffset, ""));
    std::vector<Map> maps;
    maps.reserve(bands.size());
    for (const BandMatrix& band : bands) {
        maps.push_back(
            blockOf(*m_data->inverseMap, band, blockOffset, "Correcting for vignetting"));
    }
    return {[maps](BandImage& images, Eigen::Index first, Eigen::Index last) {
                for (std::size_t b = 0; b < images.size(); ++b) {
                    const Map& map = maps[b];
                    forRows(images[b],
                            first,
                            last,
                            [&map](Eigen::Index r, float* pixels, std::size_t size) {
                                loops::multiply(pixels, size, &map.coeffRef(r, 0));
                            });
                }
            },
            {}};
}

void Vignetting::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
