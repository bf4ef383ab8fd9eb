#include "MapCache.h"

#include <algorithm>
#include <cstdint>
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

/// Models stay in place while they are used.
std::uintptr_t addressOf(const radiometry::sequoia::ModelParameter* model) {
    return reinterpret_cast<std::uintptr_t>(model);
}

std::string darkSignature(const ExifInfo& exif, const radiometry::sequoia::ModelParameter* model) {
    Signature signature;
    signature.add(exif.imageWidth, exif.imageHeight, exif.bandCount);
    if (model != nullptr) {
        return signature.add(addressOf(model), exif.iso, exif.sensorTemperature.value_or(0.0))
            .text();
    }
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        signature.add(level);
    }
    return signature.text();
}

std::string vignettingSignature(const CameraParams& camera,
                                double apertureFNumber,
                                const radiometry::sequoia::ModelParameter* model) {
    Signature signature;
    signature.add(camera.width, camera.height, camera.principalPointX, camera.principalPointY);
    if (model != nullptr) {
        return signature.add(addressOf(model)).text();
    }
    const VignettingData data = camera.vignettingModel(apertureFNumber);
    return signature.add(data.type, data.centerX, data.centerY).add(data.coefficients).text();
}

} // namespace

void MapCache::makeRoomFor(std::uint64_t cameraId) {
    m_cameras.erase(std::remove(m_cameras.begin(), m_cameras.end(), cameraId), m_cameras.end());
    if (m_cameras.size() >= m_cameraCount) {
        for (const auto type :
             {datasource::Type::DarkCurrentModel, datasource::Type::VignettingModel}) {
            m_entries.erase({m_cameras.front(), type});
        }
        m_cameras.erase(m_cameras.begin());
    }
    m_cameras.push_back(cameraId);
}

datasource::Cache MapCache::mapsFor(const InputImage& image,
                                    const CameraParams& camera,
                                    const radiometry::sequoia::ModelParameter* sequoiaModel) {
    datasource::Cache cache;
    const ExifInfo& exif = image.exif;
    const std::lock_guard lock(m_mutex);
    makeRoomFor(image.cameraId);
    const auto provide = [&](datasource::Type type, std::string signature, auto&& make) {
        const datasource::CacheKey key{image.cameraId, type};
        const auto [entry, isNew] = m_entries.try_emplace(key);
        if (isNew || entry->second.signature != signature) {
            entry->second = {std::move(signature), make()};
        }
        if (entry->second.source) {
            cache[key] = entry->second.source;
        }
    };
    provide(datasource::Type::DarkCurrentModel, darkSignature(exif, sequoiaModel), [&] {
        return datasource::createDarkCurrentSource(exif, sequoiaModel);
    });
    provide(datasource::Type::VignettingModel,
            vignettingSignature(camera, exif.apertureFNumber, sequoiaModel),
            [&] {
                return datasource::createVignettingSource(
                    camera, exif.apertureFNumber, sequoiaModel);
            });
    return cache;
}

} // namespace tessik::app
