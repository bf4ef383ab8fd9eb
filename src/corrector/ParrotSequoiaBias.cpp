#include "radiometry/corrector/ParrotSequoiaBias.h"

#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "radiometry/core/Consistency.h"

#include <algorithm>
#include <optional>

namespace tessik::radiometry::corrector {
namespace {

std::optional<float> biasOf(const QString& bandName) {
    if (bandName == QLatin1String("Red edge")) {
        return -0.04349833F;
    }
    if (bandName == QLatin1String("NIR")) {
        return -0.05025287F;
    }
    return std::nullopt;
}

} // namespace

struct ParrotSequoiaBias::Data {
    QString bandName;
    bool hasCmos = false;
    CorrectionType correctionType = CorrectionType::NoCorrection;
};

ParrotSequoiaBias::ParrotSequoiaBias() : m_data(std::make_unique<Data>()) {}
ParrotSequoiaBias::~ParrotSequoiaBias() = default;

void ParrotSequoiaBias::useData(const datasource::ImageMetadata& source) {
    const std::vector<QString>& names = source.exif().bandNames;
    m_data->bandName = names.size() == 1 ? names.front() : QString();
}

void ParrotSequoiaBias::useData(const datasource::ParrotSequoiaCMOS& /*source*/) {
    m_data->hasCmos = true;
}

void ParrotSequoiaBias::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool ParrotSequoiaBias::isApplicable() const {
    return m_data->hasCmos && doAnyCorrection(m_data->correctionType);
}

RowWork ParrotSequoiaBias::prepare(const RowTask& task) const {
    const std::optional<float> bias = biasOf(m_data->bandName);
    if (!bias) {
        return {};
    }
    verifyConsistentNumberOfBands(task.bands.size(), 1, QStringLiteral("Correcting bias"));
    tell(task.account, "bias", "", {static_cast<double>(*bias)});
    return {[bias = *bias](const Row& row) {
        for (std::size_t i = 0; i < row.size; ++i) {
            float& value = row.pixels[i];
            // A NaN is the first argument of both, which is the one that they return then.
            value = std::max(value + bias, std::min(value, 0.0F));
        }
    }};
}

} // namespace tessik::radiometry::corrector
