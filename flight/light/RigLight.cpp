#include "flight/light/RigLight.h"

#include "flight/json/CorrectionWords.h"
#include "flight/light/Smoothing.h"
#include "platform/math/Quantile.h"

#include <Eigen/QR>
#include <QtCore/QString>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::flight {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// Captures farther apart tell nothing of each other's jitter.
constexpr double kLongestGap = 60.0; // s
/// The fraction of direct sunlight in the light of a clear sky, near enough to tell its state.
constexpr double kClearFraction = 0.8;
/// Fewer captures are not steadied, and no type is chosen by them.
constexpr Eigen::Index kFewestCaptures = 12;

std::vector<double> timesOf(const LightSeries& series) {
    std::vector<double> times;
    times.reserve(series.captures.size());
    for (const LightCapture& capture : series.captures) {
        times.push_back(capture.time);
    }
    return times;
}

/// What bands have in common at each capture: the mean of their logarithms.
std::vector<double> meanOfBands(const Eigen::ArrayXXd& logarithms) {
    std::vector<double> means;
    for (Eigen::Index i = 0; i < logarithms.rows(); ++i) {
        const auto row = logarithms.row(i);
        const auto isKnown = row.isFinite();
        const auto count = static_cast<double>(isKnown.count());
        means.push_back(count > 0.0 ? isKnown.select(row, 0.0).sum() / count : kNaN);
    }
    return means;
}

/// How the light of a flight is distributed: relative to the clear sky where that is known.
struct Distribution {
    double middle = kNaN;
    double spread = kNaN; ///< the ninth tenth over the first, beside a slow drift
};

/// What is left of a course when its slow drift, a parabola, is taken off; NaN where it is.
std::vector<double> withoutDrift(const std::vector<double>& times,
                                 const std::vector<double>& values) {
    const auto count = static_cast<Eigen::Index>(values.size());
    const double span = std::max(1.0, times.back() - times.front());
    Eigen::MatrixXd terms(count, 3);
    Eigen::VectorXd known(count);
    for (Eigen::Index i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const double weight = std::isfinite(values[index]) ? 1.0 : 0.0;
        const double x = (times[index] - times.front()) / span - 0.5;
        terms.row(i) << weight, weight * x, weight * x * x;
        known[i] = weight > 0.0 ? values[index] : 0.0;
    }
    const Eigen::VectorXd drift = terms * terms.colPivHouseholderQr().solve(known).eval();
    std::vector<double> rest;
    rest.reserve(values.size());
    for (Eigen::Index i = 0; i < count; ++i) {
        rest.push_back(values[static_cast<std::size_t>(i)] - drift[i]);
    }
    return rest;
}

Distribution distributionOf(const std::vector<double>& times, const Eigen::ArrayXXd& logarithms) {
    const std::vector<double> known = meanOfBands(logarithms);
    const std::vector<double> rest = withoutDrift(times, known);
    return {std::exp(quantile(known, 0.5)), std::exp(quantile(rest, 0.9) - quantile(rest, 0.1))};
}

QString percent(double share) {
    return QString::number(100.0 * share, 'f', share < 0.1 ? 1 : 0) + " %";
}

/// The light between the clouds, one value a band: three quarters of the captures under broken
/// clouds lie below it, so that it is a value of sunlit ones.
Eigen::ArrayXd sunlitLevel(const Eigen::ArrayXXd& logarithms) {
    Eigen::ArrayXd levels(logarithms.cols());
    for (Eigen::Index b = 0; b < logarithms.cols(); ++b) {
        const auto column = logarithms.col(b);
        levels[b] = quantile({column.begin(), column.end()}, 0.75);
    }
    return levels;
}

/// Captures in about the light of the sunlit ones.
std::vector<bool> sunlitCaptures(const Eigen::ArrayXXd& logarithms, bool hasClouds) {
    constexpr double kBelow = 0.20;
    const std::vector<double> light = meanOfBands(logarithms);
    const double sunlit = quantile(light, 0.75);
    std::vector<bool> is;
    is.reserve(light.size());
    for (const double value : light) {
        is.push_back(!hasClouds || value > sunlit - kBelow);
    }
    return is;
}

/// The best level light that the readings give, before it is steadied; logarithms relative to what
/// LightSeries::logarithms is relative to.
Eigen::ArrayXXd bestLevel(const Eigen::ArrayXXd& readings,
                          const SensorViews& views,
                          const Eigen::ArrayXd& direct,
                          const std::vector<double>& times,
                          RigLight& light) {
    constexpr double kLargestFraction = 0.97;
    constexpr int kPasses = 2; // the sunlit level is better known when the lean is
    const bool hasClouds = light.sky.state == SkyState::Broken;
    if (light.sky.state == SkyState::Overcast || !(direct > 0.0).any()) {
        return readings + levellingLogarithms(views, direct, {});
    }
    Eigen::ArrayXXd level = readings + levellingLogarithms(views, direct, {});
    Eigen::ArrayXd fractions = direct;
    Lean lean;
    for (int pass = 0; pass < kPasses; ++pass) {
        const MountFit fit = fitMount(
            times, meanOfBands(readings), views, direct.mean(), sunlitCaptures(level, hasClouds));
        lean = fit.lean;
        fractions = (direct + fit.fractionShift).max(0.0).min(kLargestFraction);
        const Eigen::ArrayXXd levelling =
            hasClouds ? levelUnderClouds(readings, views, lean, {fractions, sunlitLevel(level)})
                      : levellingLogarithms(views, fractions, lean);
        level = readings + levelling;
    }
    light.mount = lean;
    return level;
}

/// Jitter below this is left alone: it is not what makes the light uncertain.
constexpr double kLeastJitter = 0.003;

/// What a band sees beyond what all see together. Clouds take less blue light than red, so what is
/// in proportion to the common change, or to its square, is not the sensor's.
std::vector<double> ownCourse(const Eigen::ArrayXXd& level,
                              const std::vector<double>& common,
                              Eigen::Index band,
                              std::vector<double>& explained) {
    Eigen::MatrixXd terms(level.rows(), 3);
    Eigen::VectorXd rest = Eigen::VectorXd::Zero(level.rows());
    for (Eigen::Index i = 0; i < level.rows(); ++i) {
        const double c = common[static_cast<std::size_t>(i)];
        const double value = level(i, band) - c;
        const bool isKnown = std::isfinite(value);
        terms.row(i) << (isKnown ? 1.0 : 0.0), (isKnown ? c : 0.0), (isKnown ? c * c : 0.0);
        rest[i] = isKnown ? value : 0.0;
    }
    const Eigen::Vector3d share = terms.colPivHouseholderQr().solve(rest);
    std::vector<double> own;
    explained.clear();
    for (Eigen::Index i = 0; i < level.rows(); ++i) {
        const double c = common[static_cast<std::size_t>(i)];
        explained.push_back(c + share[0] + c * (share[1] + c * share[2]));
        own.push_back(level(i, band) - explained.back());
    }
    return own;
}

Smoothed unchanged(const std::vector<double>& values, double jitter) {
    return {values, std::vector<double>(values.size(), std::isfinite(jitter) ? jitter : 0.0)};
}

/// Takes the jitter off: of what each band sees by itself, and of what all see together where the
/// light itself is steady. Where clouds pass, what all see together is the light.
void steady(const Eigen::ArrayXXd& level,
            const std::vector<double>& times,
            SkyState sky,
            Eigen::ArrayXXd& logarithms,
            Eigen::ArrayXXd& standardErrors) {
    const std::vector<double> common = commonMode(level);
    const double jitter = jitterOf(times, common, kLongestGap);
    const bool isEven = sky == SkyState::Clear || sky == SkyState::Overcast;
    const Smoothed together =
        isEven && jitter > kLeastJitter ? smooth(times, common, {jitter}) : unchanged(common, 0.0);
    logarithms = level;
    standardErrors = Eigen::ArrayXXd::Zero(level.rows(), level.cols());
    for (Eigen::Index b = 0; b < level.cols(); ++b) {
        std::vector<double> explained;
        const std::vector<double> own = ownCourse(level, common, b, explained);
        const double ownJitter = jitterOf(times, own, kLongestGap);
        const Smoothed alone =
            ownJitter > kLeastJitter ? smooth(times, own, {ownJitter}) : unchanged(own, ownJitter);
        for (Eigen::Index i = 0; i < level.rows(); ++i) {
            const auto row = static_cast<std::size_t>(i);
            const double change = together.values[row] - common[row];
            logarithms(i, b) = explained[row] + change + alone.values[row];
            standardErrors(i, b) =
                std::hypot(together.standardErrors[row], alone.standardErrors[row]);
        }
    }
}

std::optional<double> known(double value) {
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

} // namespace

std::string wordOf(SkyState state) {
    switch (state) {
    case SkyState::Clear:
        return "clear";
    case SkyState::Broken:
        return "broken";
    case SkyState::Overcast:
        return "overcast";
    case SkyState::Unknown:
        break;
    }
    return "unknown";
}

SkyState skyStateOf(const std::string& word) {
    for (const SkyState state : {SkyState::Clear, SkyState::Broken, SkyState::Overcast}) {
        if (wordOf(state) == word) {
            return state;
        }
    }
    return SkyState::Unknown;
}

SkyVerdict skyOf(const LightSeries& series, const SensorViews& views) {
    constexpr double kPassingClouds = 1.35; // spread
    constexpr double kOvercast = 0.55;      // of the clear sky
    if (series.captures.empty()) {
        return {SkyState::Unknown, "there is no light sensor", {}};
    }
    const Eigen::ArrayXXd readings = series.logarithms();
    const std::vector<double> times = timesOf(series);
    Distribution light = distributionOf(times, readings);
    // A tilted sensor varies under a clear sky, a levelled reading under an overcast one: the sky
    // is what varies least.
    const Eigen::ArrayXd clear = Eigen::ArrayXd::Constant(readings.cols(), kClearFraction);
    const Distribution levelled =
        distributionOf(times, readings + levellingLogarithms(views, clear, {}));
    if (levelled.spread < light.spread) {
        light = levelled;
    }
    if (!std::isfinite(light.middle)) {
        return {SkyState::Unknown, "no reading can be used", {}};
    }
    const bool isRelative = series.isAbsolute && series.captures.front().clearSky.isFinite().all();
    constexpr double kImpossible = 2.0; // of the clear sky; the edge of a cloud adds a third
    if (isRelative && light.middle > kImpossible) {
        const std::string howMuch = QString::number(light.middle, 'g', 3).toStdString();
        return {SkyState::Unknown,
                "the readings are " + howMuch + " times the light of a clear sky",
                "the light sensor reads " + howMuch +
                    " times the light of a clear sky, so its unit, the time or the place is not "
                    "what the metadata say; --type camera corrects without it"};
    }
    const bool isWhole = readings.rows() >= kFewestCaptures;
    if (isWhole && light.spread > kPassingClouds) {
        return {SkyState::Broken,
                ("the level light varies by a factor of " + QString::number(light.spread, 'f', 2))
                    .toStdString(),
                {}};
    }
    if (!isRelative) {
        return {
            SkyState::Unknown,
            "the light is even, and the sensor's unit is not known: it may be clear or overcast",
            {}};
    }
    const std::string share =
        ("the level light is " + percent(light.middle) + " of a clear sky's").toStdString();
    return {light.middle < kOvercast ? SkyState::Overcast : SkyState::Clear, share, {}};
}

SkyVerdict skyOver(const LightSeries& series,
                   const Flight& flight,
                   const geo::ProjectCoordinateSystems& systems) {
    for (const radiometry::CorrectionType type :
         {kSunAngleAbsolute, radiometry::CorrectionType::CameraSunIrradianceAndSunAngle}) {
        const SensorViews views = viewsOf(series, flight, type, systems);
        if (std::any_of(views.begin(), views.end(), [](const auto& view) { return view; })) {
            return skyOf(series, views);
        }
    }
    return skyOf(series, SensorViews(series.captures.size()));
}

RigLight lightOf(LightSeries series,
                 const Flight& flight,
                 radiometry::CorrectionType type,
                 const Sunlight& sunlight,
                 const geo::ProjectCoordinateSystems& systems,
                 LightChoice choice) {
    RigLight light;
    light.cameras = series.rig;
    light.type = type;
    const Eigen::ArrayXXd readings = series.logarithms();
    const std::vector<double> times = timesOf(series);
    const Eigen::ArrayXd fractions = fractionsOf(series, sunlight.fractions);
    const bool isFitted = sunlight.model == "fit";
    const bool isLevelled = doSunAngleCorrection(type) && fractions.isFinite().all();
    SensorViews views(series.captures.size());
    light.levelling = Eigen::ArrayXXd::Ones(readings.rows(), readings.cols());
    if (isLevelled) {
        views = viewsOf(series, flight, type, systems);
        light.levelling = levellingLogarithms(views, fractions, {}).exp();
    }
    light.sky = skyOver(series, flight, systems);
    if (light.sky.state == SkyState::Unknown && light.sky.refusal.empty() && isLevelled &&
        isFitted) {
        constexpr double kSunny = 0.4;
        const bool isSunny = fractions.mean() > kSunny;
        light.sky = {isSunny ? SkyState::Clear : SkyState::Overcast,
                     "the light is even, and by the fit " +
                         percent(fractions.mean()).toStdString() +
                         " of it comes directly from the sun",
                     {}};
    }
    const Eigen::ArrayXXd asRead = readings + light.levelling.log();
    light.jitterRaw = known(jitterOf(times, commonMode(asRead), kLongestGap));
    Eigen::ArrayXXd logarithms = asRead;
    light.standardError =
        Eigen::ArrayXXd::Constant(readings.rows(), readings.cols(), light.jitterRaw.value_or(kNaN));
    light.isSteady = choice == LightChoice::Steady && readings.rows() >= kFewestCaptures &&
                     light.jitterRaw && doIrradianceCorrection(type);
    if (light.isSteady) {
        const Eigen::ArrayXXd level =
            isLevelled ? bestLevel(readings, views, fractions, times, light) : readings;
        steady(level, times, light.sky.state, logarithms, light.standardError);
        logarithms = logarithms.isFinite().select(logarithms, asRead);
        light.jitterSteady = known(jitterOf(times, commonMode(logarithms), kLongestGap));
    }
    Eigen::ArrayXXd sky(readings.rows(), readings.cols());
    for (Eigen::Index i = 0; i < readings.rows(); ++i) {
        const LightCapture& capture = series.captures[static_cast<std::size_t>(i)];
        sky.row(i) = capture.reading.log().transpose() - readings.row(i);
    }
    light.used = (logarithms + sky).exp();
    light.series = std::move(series);
    return light;
}

void useLight(const std::vector<RigLight>& lights, Flight& flight) {
    for (const RigLight& light : lights) {
        if (!light.isSteady) {
            continue;
        }
        for (std::size_t i = 0; i < light.series.captures.size(); ++i) {
            const auto row = static_cast<Eigen::Index>(i);
            for (const std::size_t index : light.series.captures[i].images) {
                InputImage& image = flight.images[index];
                for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
                    const LightBand& band = light.series.bands[b];
                    const auto column = static_cast<Eigen::Index>(b);
                    const double reading = light.used(row, column) / light.levelling(row, column);
                    if (band.cameraId == image.cameraId &&
                        band.index < image.exif.sunIrradiance.size() && std::isfinite(reading) &&
                        reading > 0.0) {
                        image.exif.sunIrradiance[band.index] = reading;
                    }
                }
            }
        }
    }
}

} // namespace tessik::flight
