#include "radiometry/DarkCurrentModel.h"

#include "platform/log/Log.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

#include <cstring>

namespace tessik::radiometry::datasource {
namespace {

std::optional<float> constantLevel(const BandMatrix& map) {
    // Each value equals the next one, bit for bit: a map with a NaN has a level, too.
    const auto bytes = static_cast<std::size_t>(map.size()) * sizeof(float);
    const bool isConstant =
        map.size() > 0 && std::memcmp(map.data(), map.data() + 1, bytes - sizeof(float)) ==
                              0; // NOLINT(bugprone-suspicious-memory-comparison)
    return isConstant ? std::optional(map(0, 0)) : std::nullopt;
}

} // namespace

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) : m_map(model.map()) {
    m_constantLevels.reserve(m_map.size());
    for (const BandMatrix& map : m_map) {
        m_constantLevels.push_back(constantLevel(map));
    }
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

void DarkCurrentModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace tessik::radiometry::datasource
