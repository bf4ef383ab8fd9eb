#include "radiometry/DarkCurrentModel.h"

#include "RunningMean.h"
#include "platform/log/Log.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

#include <algorithm>
#include <cstring>

namespace tessik::radiometry::datasource {
namespace {

/// Of the longest pattern that a sensor is known to have, and some more.
constexpr Eigen::Index kLongestPeriod = 8;

/// The very bits repeat.
Eigen::Index rowPeriod(const BandMatrix& map) {
    for (Eigen::Index period = 1; period <= std::min(kLongestPeriod, map.rows() - 1); ++period) {
        const Eigen::Index shift = period * map.cols();
        const auto others = static_cast<std::size_t>(map.size() - shift);
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        if (std::memcmp(map.data(), map.data() + shift, others * sizeof(float)) == 0) {
            return period;
        }
    }
    return map.rows();
}

bool isConstant(const BandMatrix& map) {
    return map.size() > 0 && (map.array() == map(0, 0)).all();
}

} // namespace

DarkCurrentModel::DarkCurrentModel(const IDarkCurrentModel& model) : m_map(model.map()) {
    m_rowPeriods.reserve(m_map.size());
    for (const BandMatrix& map : m_map) {
        m_rowPeriods.push_back(rowPeriod(map));
    }
    TESSIK_LOG(logging::kInfo) << "Dark current: " << model;
}

float DarkCurrentModel::runningMean(std::size_t band) const {
    std::call_once(m_meansAreKnown, [this] {
        for (const BandMatrix& map : m_map) {
            m_means.push_back(isConstant(map) ? map(0, 0) : radiometry::runningMean(map));
        }
    });
    return m_means[band];
}

void DarkCurrentModel::accept(corrector::ICorrector& corrector) const {
    corrector.useData(*this);
}

} // namespace tessik::radiometry::datasource
