#include "radiometry/corrector/DarkCurrent.h"

#include "corrector/DarkLevel.h"
#include "corrector/Rows.h"
#include "platform/log/Log.h"
#include "radiometry/core/Consistency.h"

#include <algorithm>
#include <memory>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kDarkContext = "Correcting for dark current";

} // namespace

struct DarkCurrent::Data {
    DarkLevel::Maps maps; ///< null = not received
};

DarkCurrent::DarkCurrent() : m_data(std::make_unique<Data>()) {}
DarkCurrent::~DarkCurrent() = default;

void DarkCurrent::useData(const datasource::DarkCurrentModel& source) {
    m_data->maps = source.maps();
}

bool DarkCurrent::isApplicable() const {
    return m_data->maps != nullptr;
}

RowWork DarkCurrent::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(task.bands.size(), m_data->maps->bands.size(), kDarkContext);
    const std::vector<DarkLevel> darks =
        DarkLevel::ofBands(m_data->maps, task.bands, task.blockOffset, kDarkContext);
    for (const DarkLevel& dark : darks) {
        TESSIK_LOG(logging::kInfo) << "Dark current correction: " << dark.runningMean();
    }
    if (task.account != nullptr) {
        Eigen::ArrayXd means(static_cast<Eigen::Index>(darks.size()));
        std::transform(darks.begin(), darks.end(), means.begin(), [](const DarkLevel& dark) {
            return dark.mean();
        });
        tell(task.account, "dark_level", "DN", means);
    }
    // Only the band that is processed last counts; a NaN is not negative. Promised:
    // docs/contract.md, last-band.
    const auto isLastNegative = std::make_shared<bool>(false);
    return {[darks, isLastNegative](const Row& row) {
                const float* dark = darks[row.band].ofRow(row.index);
                const bool isNegative = loops::subtract(row.pixels, row.size, dark);
                *isLastNegative |= isNegative && row.band + 1 == darks.size();
            },
            [isLastNegative](Account* /*account*/) {
                if (*isLastNegative) {
                    TESSIK_LOG(logging::kWarning)
                        << "Negative pixel value(s) found after dark current correction";
                }
            }};
}

} // namespace tessik::radiometry::corrector
