#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include "directSunlightFraction/Fit.h"
#include "directSunlightFraction/Readings.h"
#include "platform/log/Log.h"

namespace tessik::radiometry {

SunlightFractionFitResult computeDirectSunlightFractionForBand(
    const BandIndexByCamera& bandIndexByCamera,
    const std::vector<InputImage>& images,
    const geo::OutCoordSystem& outCoordSystem,
    const geo::SiteCalibration& siteCalibration,
    const CameraById& cameraById,
    const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
    unsigned int polynomialDegree,
    bool useSensorAngles) {
    return detail::fit(detail::collectReadings(bandIndexByCamera,
                                               images,
                                               outCoordSystem,
                                               siteCalibration,
                                               cameraById,
                                               settingsByCamera,
                                               polynomialDegree,
                                               useSensorAngles),
                       polynomialDegree);
}

std::map<BandInfo, SunlightFractionFitResult>
computeDirectSunlightFraction(const std::vector<InputImage>& images,
                              const CamerasData& cameras,
                              const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
                              const geo::OutCoordSystem& outCoordSystem,
                              const geo::SiteCalibration& siteCalibration,
                              const CameraById& cameraById,
                              unsigned int polynomialDegree,
                              bool useSensorAngles) {
    std::map<BandInfo, SunlightFractionFitResult> results;
    for (const auto& [band, bandIndexByCamera] : groupByBand(cameras, settingsByCamera)) {
        try {
            results.emplace(band,
                            computeDirectSunlightFractionForBand(bandIndexByCamera,
                                                                 images,
                                                                 outCoordSystem,
                                                                 siteCalibration,
                                                                 cameraById,
                                                                 settingsByCamera,
                                                                 polynomialDegree,
                                                                 useSensorAngles));
        } catch (const error& failure) {
            TESSIK_LOG(logging::kWarning)
                << "Unable to estimate direct sunlight fraction for band {" << band
                << "}: " << failure.what();
            // Promised: docs/contract.md, all-or-nothing.
            return {};
        }
    }
    return results;
}

} // namespace tessik::radiometry
