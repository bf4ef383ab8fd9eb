#include "app/Subcommands.h"
#include "platform/exif/Tags.h"
#include "platform/math/Angle.h"
#include "radiometry/directSunlightFraction/PhysicalModel.h"
#include "radiometry/sun/SunPosition.h"

#include <QtCore/QDateTime>

#include <cmath>
#include <memory>
#include <optional>
#include <string>

namespace tessik::app {
namespace {

struct Options {
    std::string time;
    double latitude = 0.0;  ///< degrees
    double longitude = 0.0; ///< degrees
    bool json = false;
};

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

int sun(const Options& options, Terminal& terminal) {
    const std::optional<double> time = parseTime(options.time);
    if (!time) {
        terminal.failure({"--time " + options.time, "neither ISO 8601 nor seconds since 1970"});
        return NothingDone;
    }
    const double latitude = options.latitude * kDegree;
    const double longitude = options.longitude * kDegree;
    const radiometry::SunAngle angle =
        radiometry::SunPositionEstimator().sunAngle(*time, latitude, longitude);
    flight::Json fraction;
    if (angle.elevation > 0.0) {
        fraction =
            radiometry::computeDirectSunlightFractionPhysicalModel(*time, latitude, longitude);
    }
    const flight::Json document = {{"azimuth_deg", angle.azimuth / kDegree},
                                   {"elevation_deg", angle.elevation / kDegree},
                                   {"direct_fraction", fraction}};
    if (options.json) {
        showJson(document);
        return AllDone;
    }
    show("azimuth          %9.4f deg from north, clockwise\n", angle.azimuth / kDegree);
    show("elevation        %9.4f deg, refraction included\n", angle.elevation / kDegree);
    if (fraction.is_null()) {
        show("direct fraction          - the sun is down\n");
    } else {
        show("direct fraction  %9.4f under a clear sky\n", fraction.get<double>());
    }
    return AllDone;
}

} // namespace

Action addSun(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("sun", "Tell where the sun stands");
    command
        .add_option(
            "--time", options->time, "ISO 8601 (UTC), or seconds since 1970-01-01 00:00 UTC")
        ->required();
    command.add_option("--lat", options->latitude, "Latitude, degrees north")
        ->required()
        ->check(CLI::Range(-90.0, 90.0));
    command.add_option("--lon", options->longitude, "Longitude, degrees east")
        ->required()
        ->check(CLI::Range(-360.0, 360.0));
    addJson(command, options->json);
    return [options](Terminal& terminal) { return sun(*options, terminal); };
}

} // namespace tessik::app
