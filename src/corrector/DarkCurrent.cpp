#include "radiometry/corrector/DarkCurrent.h"

#include "Kernels.h"
#include "RunningMean.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"

#include <limits>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kContext = "Correcting for dark current";

/// @return whether a result is negative; a NaN is not
template <typename Dark>
bool subtract(BandMatrix& band, const Dark& dark) {
    // An integer, or-ed: compilers vectorise that, but no minimum of floats that may be NaN.
    int isNegative = 0;
    for (Eigen::Index r = 0; r < band.rows(); ++r) {
        float* pixel = &band(r, 0);
        for (Eigen::Index c = 0; c < band.cols(); ++c) {
            pixel[c] -= dark.coeff(r, c);
            isNegative |= static_cast<int>(pixel[c] < 0.0F);
        }
    }
    return isNegative != 0;
}

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

void DarkCurrent::apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const {
    const std::vector<BandMatrix>& maps = m_data->model->darkCurrentMap();
    verifyConsistentNumberOfBands(bands.size(), maps.size(), kContext);
    bool isLastNegative = false;
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const auto dark = blockOf(maps[b], bands[b], blockOffset, kContext);
        const std::optional<float> level = m_data->model->constantLevels()[b];
        isLastNegative =
            level ? subtract(bands[b], constant(bands[b], *level)) : subtract(bands[b], dark);
        TESSIK_LOG(logging::kInfo)
            << "Dark current correction: "
            << (dark.size() == maps[b].size() ? m_data->model->runningMean(b) : runningMean(dark));
    }
    if (isLastNegative) {
        TESSIK_LOG(logging::kWarning)
            << "Negative pixel value(s) found after dark current correction";
    }
}

} // namespace tessik::radiometry::corrector
