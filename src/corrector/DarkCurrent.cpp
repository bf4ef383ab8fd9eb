#include "radiometry/corrector/DarkCurrent.h"

#include "DarkLevel.h"
#include "RunningMean.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"

#include <memory>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kContext = "Correcting for dark current";

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
    verifyConsistentNumberOfBands(bands.size(), model.darkCurrentMap().size(), kContext);
    std::vector<DarkLevel> darks;
    darks.reserve(bands.size());
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const BandMatrix& map = model.darkCurrentMap()[b];
        const auto dark = blockOf(map, bands[b], blockOffset, kContext);
        darks.push_back(darkLevelOf(model, b, bands[b], blockOffset, kContext));
        TESSIK_LOG(logging::kInfo)
            << "Dark current correction: "
            << (dark.size() == map.size() ? model.runningMean(b) : runningMean(dark));
    }
    // Of the band processed last; a NaN is not negative.
    const auto isLastNegative = std::make_shared<int>(0);
    return {[darks, isLastNegative](BandImage& images, Eigen::Index first, Eigen::Index last) {
                // An integer, or-ed: compilers vectorise that, but no minimum of floats that may be
                // NaN.
                int isNegative = 0;
                for (std::size_t b = 0; b < images.size(); ++b) {
                    isNegative = 0;
                    forRows(images[b], darks[b], first, last, [&isNegative](float& v, float dark) {
                        v -= dark;
                        isNegative |= static_cast<int>(v < 0.0F);
                    });
                }
                *isLastNegative |= isNegative;
            },
            [isLastNegative] {
                if (*isLastNegative != 0) {
                    TESSIK_LOG(logging::kWarning)
                        << "Negative pixel value(s) found after dark current correction";
                }
            }};
}

void DarkCurrent::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    applyByRows(bands, blockOffset);
}

} // namespace tessik::radiometry::corrector
