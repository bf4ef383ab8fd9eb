#include "radiometry/directSunlightFraction/PhysicalModel.h"

#include "core/Fail.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/Conversions.h"
#include "platform/log/Log.h"
#include "platform/math/Angle.h"
#include "radiometry/directSunlightFraction/ClearSkyModelBird.h"
#include "radiometry/sun/SunPosition.h"

namespace tessik::radiometry {
namespace {

// The atmosphere.
constexpr double kSeaLevelPressure = 1013.0; // hPa
constexpr double kAerosolDepth500 = 0.0;
constexpr double kAerosolDepth380 = 0.0;
constexpr double kForwardScatteringRatio = 0.84;
constexpr double kAerosolAbsorptance = 0.1;

} // namespace

double calcDayTimeMean(const std::vector<InputImage>& images) {
    double mean = 0.0;
    double count = 0.0;
    for (const InputImage& image : images) {
        const double time = image.geo.captureTime;
        // Promised: docs/contract.md, nan-time.
        if (time != 0.0) {
            count += 1.0;
            mean += (time - mean) / count;
        }
    }
    if (count == 0.0) {
        fail("no valid time could be computed");
    }
    return mean;
}

double computeDirectSunlightFractionPhysicalModel(double time, double latitude, double longitude) {
    const SunAngle sun = SunPositionEstimator().sunAngle(time, latitude, longitude);
    if (0.0 >= sun.elevation) {
        // Promised: docs/contract.md, full-stops.
        fail("The sun is behind the horizon.");
    }
    return ClearSkyModelBird(kPi / 2.0 - sun.elevation,
                             kSeaLevelPressure,
                             kAerosolDepth500,
                             kAerosolDepth380,
                             kForwardScatteringRatio,
                             kAerosolAbsorptance)
        .epsilon();
}

double computeDirectSunlightFractionPhysicalModel(const std::vector<InputImage>& images,
                                                  const geo::OutCoordSystem& outCoordSystem,
                                                  const geo::SiteCalibration& siteCalibration) {
    GeoPosition site;
    if (!geo::out2wgs84(
            outCoordSystem, siteCalibration, outCoordSystem.referencePosition(), site)) {
        fail("Unable to convert from output coordinate system to WGS-84");
    }
    // Promised: docs/contract.md, divide-first.
    return computeDirectSunlightFractionPhysicalModel(
        calcDayTimeMean(images), site.latitude / 180.0 * kPi, site.longitude / 180.0 * kPi);
}

std::map<BandInfo, double> computeDirectSunlightFractionPhysicalModel(
    const std::vector<InputImage>& images,
    const CamerasData& cameras,
    const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
    const geo::OutCoordSystem& outCoordSystem,
    const geo::SiteCalibration& siteCalibration) {
    const auto groups = groupByBand(cameras, settingsByCamera);
    std::map<BandInfo, double> fractions;
    if (groups.empty()) {
        return fractions;
    }
    const double fraction =
        computeDirectSunlightFractionPhysicalModel(images, outCoordSystem, siteCalibration);
    TESSIK_LOG(logging::kInfo) << "Estimated direct sunlight fraction as " << fraction;
    for (const auto& group : groups) {
        fractions.emplace(group.first, fraction);
    }
    return fractions;
}

} // namespace tessik::radiometry
