#include "MapCache.h"

#include "radiometry/DarkCurrentModel.h"
#include "radiometry/VignettingModel.h"

#include <cstring>
#include <memory>

namespace tessik::app {
namespace {

namespace datasource = radiometry::datasource;

/// Appends the bytes of numbers: equal signatures, equal maps.
class Signature {
public:
    template <typename... Numbers>
    Signature& add(Numbers... numbers) {
        (append(&numbers, sizeof(numbers)), ...);
        return *this;
    }
    Signature& add(const Eigen::MatrixXd& matrix) {
        add(matrix.rows(), matrix.cols());
        append(matrix.data(), static_cast<std::size_t>(matrix.size()) * sizeof(double));
        return *this;
    }
    [[nodiscard]] const std::string& text() const { return m_text; }

private:
    void append(const void* data, std::size_t size) {
        m_text.append(static_cast<const char*>(data), size);
    }
    std::string m_text;
};

std::string darkSignature(const ExifInfo& exif) {
    Signature signature;
    signature.add(exif.imageWidth, exif.imageHeight, exif.bandCount);
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        signature.add(level);
    }
    return signature.text();
}

std::string vignettingSignature(const VignettingData& data, const CameraParams& camera) {
    Signature signature;
    signature.add(camera.width, camera.height, camera.principalPointX, camera.principalPointY)
        .add(data.type, data.centerX, data.centerY)
        .add(data.coefficients);
    return signature.text();
}

} // namespace

datasource::Cache MapCache::mapsFor(const InputImage& image, const CameraParams& camera) {
    datasource::Cache cache;
    const std::lock_guard lock(m_mutex);
    const auto provide = [&](datasource::Type type, std::string signature, auto&& make) {
        const datasource::CacheKey key{image.cameraId, type};
        Entry& entry = m_entries[key];
        if (!entry.source || entry.signature != signature) {
            entry = {std::move(signature), make()};
        }
        cache[key] = entry.source;
    };
    if (!image.exif.darkLevels.empty()) {
        provide(datasource::Type::DarkCurrentModel, darkSignature(image.exif), [&] {
            return std::make_shared<datasource::DarkCurrentModel>(
                *radiometry::createDarkCurrentModel(image.exif, nullptr));
        });
    }
    const VignettingData vignetting = camera.vignettingModel(image.exif.apertureFNumber);
    if (vignetting.coefficients.size() > 0) {
        provide(datasource::Type::VignettingModel, vignettingSignature(vignetting, camera), [&] {
            return std::make_shared<datasource::VignettingModel>(
                *radiometry::createVignettingModel(vignetting, camera));
        });
    }
    return cache;
}

} // namespace tessik::app
