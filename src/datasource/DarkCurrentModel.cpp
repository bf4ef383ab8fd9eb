#include "radiometry/DarkCurrentModel.h"

#include "RunningMean.h"
#include "platform/log/Log.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

#include <cstring>

namespace tessik::radiometry::datasource {
namespace {

std::optional<float> constantLevel(const BandMatrix& map) {
    if (map.size() == 0) {
        return std::nullopt;
    }
    // Each value has the very bits of the next one.
    const float* value = map.data();
    const auto others = static_cast<std::size_t>(map.size() - 1);
    const bool isConstant = // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        std::memcmp(value, value + 1, others * sizeof(float)) == 0;
    return isConstant ? std::optional(*value) : std::nullopt;
}

} // namespace

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) : m_map(model.map()) {
    m_constantLevels.reserve(m_map.size());
    for (const BandMatrix& map : m_map) {
        m_constantLevels.push_back(constantLevel(map));
    }
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

float DarkCurrentModel::runningMean(std::size_t band) const {
    std::call_once(m_meansAreKnown, [this] {
        for (std::size_t b = 0; b < m_map.size(); ++b) {
            const std::optional<float> level = m_constantLevels[b];
            m_means.push_back(level ? *level : radiometry::runningMean(m_map[b]));
        }
    });
    return m_means[band];
}

void DarkCurrentModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace tessik::radiometry::datasource
