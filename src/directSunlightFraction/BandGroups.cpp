#include "radiometry/directSunlightFraction/BandGroups.h"

#include <stdexcept>

namespace tessik::radiometry {

std::map<BandInfo, BandIndexByCamera>
groupByBand(const CamerasData& cameras,
            const std::unordered_map<std::uint64_t, Settings>& settingsByCamera) {
    std::map<BandInfo, BandIndexByCamera> groups;
    for (const auto& [id, camera] : cameras) {
        const auto settings = settingsByCamera.find(id);
        if (settings == settingsByCamera.end()) {
            // Promised: docs/contract.md, map-key.
            throw std::out_of_range("invalid unordered_map<K, T> key");
        }
        if (doSunAngleCorrection(settings->second.correctionType)) {
            for (std::size_t band = 0; band < camera.bands.size(); ++band) {
                groups[camera.bands[band]][id] = band;
            }
        }
    }
    return groups;
}

Eigen::ArrayXd getFractionOfDirectSunlight(const std::map<BandInfo, double>& fractionByBand,
                                           const bands_t& bands) {
    Eigen::ArrayXd fractions(static_cast<Eigen::Index>(bands.size()));
    for (Eigen::Index band = 0; band < fractions.size(); ++band) {
        fractions[band] = fractionByBand.at(bands[static_cast<std::size_t>(band)]);
    }
    return fractions;
}

} // namespace tessik::radiometry
