#include "radiometry/corrector/GammaRelinearisation.h"

#include "platform/camera/Gamma.h"
#include "platform/exif/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/Consistency.h"
#include "radiometry/Gamma.h"

#include <cstdint>
#include <limits>

namespace tessik::radiometry::corrector {
namespace {

/// Truncated towards zero, then the low 16 bits. A value that no 64-bit integer holds has no place
/// in the table, nor has a NaN.
float lookUp(const LUT<unsigned short, double>& lut, float value) {
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

void GammaRelinearisation::apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const {
    const std::vector<gamma_t>& gammas = *m_data->gammas;
    verifyConsistentNumberOfBands(
        bands.size(), gammas.size(), QStringLiteral("Correcting for gamma transformation"));
    TESSIK_LOG(logging::kInfo) << "Gamma:";
    for (const gamma_t& gamma : gammas) {
        TESSIK_LOG(logging::kInfo) << gamma;
    }
    const auto [min, max] = minMaxForPixelType(m_data->pixelType);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const LUT<unsigned short, double> lut = makeGammaLut(gammas[b], min, max);
        float* pixel = bands[b].data();
        const Eigen::Index size = bands[b].size();
        for (Eigen::Index i = 0; i < size; ++i) {
            pixel[i] = lookUp(lut, pixel[i]);
        }
    }
}

} // namespace tessik::radiometry::corrector
