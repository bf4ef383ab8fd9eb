#include "radiometry/corrector/GammaRelinearisation.h"

#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/Gamma.h"
#include "platform/log/Log.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

namespace tessik::radiometry::corrector {
namespace {

using Table = LUT<unsigned short, double>;

/// The value is truncated towards zero, and its low 16 bits are looked up. A value that does not
/// fit into a 64-bit integer, or is NaN, has no place in the table. Promised: docs/contract.md,
/// low-16-bits.
float lookUp(const Table& lut, float value) {
    constexpr float kLimit = 9.2e18F;
    if (!(value > -kLimit && value < kLimit)) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    const auto index = static_cast<std::uint16_t>(static_cast<std::int64_t>(value));
    return index < lut.size() ? static_cast<float>(lut[index])
                              : std::numeric_limits<float>::quiet_NaN();
}

} // namespace

struct GammaRelinearisation::Data {
    const std::vector<gamma_t>* gammas = nullptr;
    DataType pixelType = DataType::Unknown;
};

GammaRelinearisation::GammaRelinearisation() : m_data(std::make_unique<Data>()) {}
GammaRelinearisation::~GammaRelinearisation() = default;

void GammaRelinearisation::useData(const datasource::ImageMetadata& source) {
    if (isGammaTransformationApplied(source.exif())) {
        m_data->gammas = &source.exif().gamma;
        m_data->pixelType = source.exif().pixelType;
    }
}

bool GammaRelinearisation::isApplicable() const {
    return m_data->gammas != nullptr;
}

RowWork GammaRelinearisation::prepare(const RowTask& task) const {
    const std::vector<gamma_t>& gammas = *m_data->gammas;
    verifyConsistentNumberOfBands(
        task.bands.size(), gammas.size(), QStringLiteral("Correcting for gamma transformation"));
    TESSIK_LOG(logging::kInfo) << "Gamma:";
    for (const gamma_t& gamma : gammas) {
        TESSIK_LOG(logging::kInfo) << gamma;
    }
    const auto ofCurves = [&gammas](double gamma_t::*member) {
        Eigen::ArrayXd numbers(static_cast<Eigen::Index>(gammas.size()));
        std::transform(gammas.begin(), gammas.end(), numbers.begin(), [member](const gamma_t& g) {
            return g.*member;
        });
        return numbers;
    };
    tell(task.account, "alpha", "", ofCurves(&gamma_t::alpha));
    tell(task.account, "gamma", "", ofCurves(&gamma_t::gamma));
    tell(task.account, "beta", "", ofCurves(&gamma_t::beta));
    const auto [min, max] = minMaxForPixelType(m_data->pixelType);
    std::vector<Table> tables;
    tables.reserve(gammas.size());
    for (const gamma_t& gamma : gammas) {
        tables.push_back(makeGammaLut(gamma, min, max));
    }
    return {[tables](const Row& row) {
        for (std::size_t i = 0; i < row.size; ++i) {
            row.pixels[i] = lookUp(tables[row.band], row.pixels[i]);
        }
    }};
}

} // namespace tessik::radiometry::corrector
