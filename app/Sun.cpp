#include "Console.h"
#include "Sunlight.h"
#include "platform/exif/Tags.h"
#include "platform/math/Angle.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"
#include "radiometry/sun/SunPosition.h"

#include <QtCore/QDateTime>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;

/// Seconds since 1970, or ISO 8601, which is UTC where it states no zone.
std::optional<double> parseTime(const std::string& text) {
    if (const auto seconds = exif::parseNumber(text); seconds && std::isfinite(*seconds)) {
        return seconds;
    }
    QDateTime time = QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs);
    if (!time.isValid()) {
        return std::nullopt;
    }
    if (time.timeSpec() == Qt::LocalTime) {
        time.setTimeSpec(Qt::UTC);
    }
    return static_cast<double>(time.toMSecsSinceEpoch()) / 1000.0;
}

} // namespace

int sun(const SunOptions& options) {
    const std::optional<double> time = parseTime(options.time);
    if (!time) {
        sayFailure({}, "--time " + options.time + ": neither ISO 8601 nor seconds since 1970");
        return NothingDone;
    }
    const double latitude = options.latitude * kDegree;
    const double longitude = options.longitude * kDegree;
    const radiometry::SunAngle angle =
        radiometry::SunPositionEstimator().sunAngle(*time, latitude, longitude);
    Json fraction;
    if (angle.elevation > 0.0) {
        fraction =
            radiometry::computeDirectSunlightFractionPhysicalModel(*time, latitude, longitude);
    }
    const Json document = {{"azimuth_deg", angle.azimuth / kDegree},
                           {"elevation_deg", angle.elevation / kDegree},
                           {"direct_fraction", fraction}};
    if (options.json) {
        std::printf("%s\n", document.dump(2).c_str());
        return AllDone;
    }
    std::printf("azimuth          %9.4f deg from north, clockwise\n", angle.azimuth / kDegree);
    std::printf("elevation        %9.4f deg, refraction included\n", angle.elevation / kDegree);
    if (fraction.is_null()) {
        std::printf("direct fraction          - the sun is down\n");
    } else {
        std::printf("direct fraction  %9.4f under a clear sky\n", fraction.get<double>());
    }
    return AllDone;
}

} // namespace tessik::app
