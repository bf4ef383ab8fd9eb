#include "radiometry/corrector/DarkCurrent.h"

#include "DarkLevel.h"
#include "RunningMean.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"

#include <memory>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kDarkContext = "Correcting for dark current";

} // namespace

struct DarkCurrent::Data {
    const datasource::DarkCurrentModel* model = nullptr;
};

DarkCurrent::DarkCurrent() : m_data(std::make_unique<Data>()) {}
DarkCurrent::~DarkCurrent() = default;

void DarkCurrent::useData(const datasource::DarkCurrentModel& source) {
    m_data->model = &source;
}

bool DarkCurrent::isApplicable() const {
    return m_data->model != nullptr;
}

RowWork DarkCurrent::prepareRows(const BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    const datasource::DarkCurrentModel& model = *m_data->model;
    verifyConsistentNumberOfBands(bands.size(), model.darkCurrentMap().size(), kDarkContext);
    std::vector<DarkLevel> darks;
    darks.reserve(bands.size());
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const BandMatrix& map = model.darkCurrentMap()[b];
        const auto dark = blockOf(map, bands[b], blockOffset, kDarkContext);
        darks.emplace_back(model, b, bands[b], blockOffset, kDarkContext);
        TESSIK_LOG(logging::kInfo)
            << "Dark current correction: "
            << (dark.size() == map.size() ? model.runningMean(b) : runningMean(dark));
    }
    // Of the band processed last; a NaN is not negative.
    const auto isLastNegative = std::make_shared<bool>(false);
    return {[darks, isLastNegative](BandImage& images, Eigen::Index first, Eigen::Index last) {
                bool isNegative = false;
                for (std::size_t b = 0; b < images.size(); ++b) {
                    isNegative = false;
                    forRows(images[b],
                            first,
                            last,
                            [&](Eigen::Index r, float* pixels, std::size_t size) {
                                isNegative |= loops::subtract(pixels, size, darks[b].ofRow(r));
                            });
                }
                *isLastNegative |= isNegative;
            },
            [isLastNegative] {
                if (*isLastNegative) {
                    TESSIK_LOG(logging::kWarning)
                        << "Negative pixel value(s) found after dark current correction";
                }
            }};
}

void DarkCurrent::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
