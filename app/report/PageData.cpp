#include "report/PageData.h"

#include "report/Curves.h"
#include "report/QuickLooks.h"
#include "report/Targets.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace tessik::app::report {
namespace {

using nlohmann::json;

/// Paths named for one reason; the others are counted.
constexpr std::size_t kMostPaths = 50;
/// Significant digits of a number in a chart.
constexpr int kDigits = 6;

json orNull(double value) {
    return std::isfinite(value) ? json(value) : json();
}

double rounded(double value) {
    if (value == 0.0 || !std::isfinite(value)) {
        return value;
    }
    const double digits = kDigits - 1 - std::floor(std::log10(std::abs(value)));
    const double scale = std::pow(10.0, std::abs(digits));
    return digits >= 0 ? std::round(value * scale) / scale : std::round(value / scale) * scale;
}

double milliseconds(double seconds) {
    return std::round(seconds * 1000.0) / 1000.0;
}

json asJson(const Curve& curve) {
    json x = json::array();
    json y = json::array();
    for (const std::size_t i : keepExtremes(curve.values, kMostPoints)) {
        x.push_back(milliseconds(curve.seconds[i]));
        y.push_back(rounded(curve.values[i]));
    }
    return {{"label", curve.label},
            {"wavelength_nm", orNull(curve.wavelengthNm)},
            {"points", curve.values.size()},
            {"x", x},
            {"y", y}};
}

std::string nameOf(const json& band, std::size_t index) {
    const std::string name = textIn(band, "name");
    const double wavelength = numberIn(band, "wavelength_nm");
    if (!name.empty()) {
        return name;
    }
    return std::isfinite(wavelength) ? std::to_string(std::lround(wavelength)) + " nm"
                                     : "Band " + std::to_string(index + 1);
}

/// What to call each band of each camera; two of one name are told apart by their cameras'.
std::vector<std::vector<std::string>> bandLabels(const RunFiles& run) {
    std::vector<std::vector<std::string>> labels;
    std::map<std::string, int> uses;
    for (const json& camera : run.cameras()) {
        std::vector<std::string> names;
        const json bands = camera.value("bands", json::array());
        for (std::size_t b = 0; b < bands.size(); ++b) {
            names.push_back(nameOf(bands[b], b));
            ++uses[names.back()];
        }
        labels.push_back(std::move(names));
    }
    for (std::size_t c = 0; c < labels.size(); ++c) {
        for (std::string& label : labels[c]) {
            if (uses[label] > 1) {
                label = textIn(run.cameras()[c], "name") + ": " + label;
            }
        }
    }
    return labels;
}

/// What to call a camera in a chart.
std::string labelOf(const json& camera, const std::vector<std::string>& bands) {
    return bands.size() == 1 ? bands.front() : textIn(camera, "name");
}

double wavelengthOf(const json& camera, std::size_t band) {
    const json bands = camera.value("bands", json::array());
    return band < bands.size() ? numberIn(bands[band], "wavelength_nm") : kAbsent;
}

double at(const std::vector<float>& values, std::size_t index) {
    return index < values.size() ? static_cast<double>(values[index]) : kAbsent;
}

/// One value a position, coloured by the levelled reading where there is one.
json mapOf(const RunFiles& run, const Flight& flight, std::size_t camera, std::size_t band) {
    std::vector<const ImageRecord*> images;
    std::vector<double> values;
    bool isLevelled = false;
    for (const std::size_t i : flight.order()) {
        const ImageRecord& image = run.images[i];
        if (image.camera == camera && image.hasPosition()) {
            const double levelled = at(image.irradianceCorrected, band);
            images.push_back(&image);
            values.push_back(std::isfinite(levelled) ? levelled : at(image.irradiance, band));
            isLevelled = isLevelled || std::isfinite(levelled);
        }
    }
    json map = {{"points", images.size()},
                {"x", json::array()},
                {"y", json::array()},
                {"value", json::array()},
                {"time_unix", json::array()},
                {"is_levelled", isLevelled}};
    for (const std::size_t i : keepExtremes(values, kMostPoints)) {
        const Eigen::Vector2d position = flight.local(*images[i]);
        map["x"].push_back(std::round(position.x() * 10.0) / 10.0);
        map["y"].push_back(std::round(position.y() * 10.0) / 10.0);
        map["value"].push_back(orNull(rounded(values[i])));
        map["time_unix"].push_back(orNull(milliseconds(images[i]->timeUnix)));
    }
    return map;
}

/// A camera has one reading a band, or one for all of them.
json lightOf(const RunFiles& run,
             const Flight& flight,
             const std::vector<std::vector<std::string>>& labels) {
    json series = json::array();
    for (std::size_t c = 0; c < labels.size(); ++c) {
        std::size_t readings = 0;
        for (const ImageRecord& image : run.images) {
            if (image.camera == c) {
                readings = std::max(readings, image.irradiance.size());
            }
        }
        const json& camera = run.cameras()[c];
        const bool isPerBand = readings == labels[c].size();
        for (std::size_t b = 0; b < std::max<std::size_t>(readings, 1); ++b) {
            const Curve raw = flight.curveOf(
                c, [b](const ImageRecord& image) { return at(image.irradiance, b); });
            const Curve levelled = flight.curveOf(
                c, [b](const ImageRecord& image) { return at(image.irradianceCorrected, b); });
            series.push_back({{"label", isPerBand ? labels[c][b] : labelOf(camera, labels[c])},
                              {"wavelength_nm", orNull(wavelengthOf(camera, b))},
                              {"raw", asJson(raw)},
                              {"corrected", asJson(levelled)},
                              {"map", mapOf(run, flight, c, b)}});
        }
    }
    return series;
}

/// One curve a camera, those alike as one.
template <typename Value>
json curvesOf(const RunFiles& run,
              const Flight& flight,
              const std::vector<std::vector<std::string>>& labels,
              const Value& value) {
    std::vector<Curve> curves;
    for (std::size_t c = 0; c < labels.size(); ++c) {
        Curve curve = flight.curveOf(c, value);
        if (!curve.values.empty()) {
            curve.label = labelOf(run.cameras()[c], labels[c]);
            curve.wavelengthNm =
                labels[c].size() == 1 ? wavelengthOf(run.cameras()[c], 0) : kAbsent;
            curves.push_back(std::move(curve));
        }
    }
    json list = json::array();
    for (const Curve& curve : joinEqual(std::move(curves), "All cameras")) {
        list.push_back(asJson(curve));
    }
    return list;
}

struct Range {
    double least = kAbsent;
    double greatest = kAbsent;

    void add(double value) {
        if (std::isfinite(value)) {
            least = std::isnan(least) ? value : std::min(least, value);
            greatest = std::isnan(greatest) ? value : std::max(greatest, value);
        }
    }
    [[nodiscard]] json asJson() const { return std::isnan(least) ? json() : json{least, greatest}; }
};

/// What the plan says of a camera, and what came of its images.
json cameraOf(const RunFiles& run, std::size_t c) {
    std::map<Status, std::size_t> count;
    Range iso;
    Range fNumber;
    double masked = 0.0;
    double pixels = 0.0;
    const ImageRecord* worst = nullptr;
    std::vector<std::size_t> steps(run.stepNames.size());
    for (const ImageRecord& image : run.images) {
        if (image.camera != c) {
            continue;
        }
        ++count[image.status];
        iso.add(image.iso);
        fNumber.add(image.fNumber);
        for (const std::uint16_t step : image.steps) {
            ++steps[step];
        }
        if (image.isCorrected() && image.pixels > 0.0 && std::isfinite(image.maskedPixels)) {
            masked += image.maskedPixels;
            pixels += image.pixels;
            if (worst == nullptr ||
                image.maskedPixels * worst->pixels > worst->maskedPixels * image.pixels) {
                worst = &image;
            }
        }
    }
    json camera = run.cameras()[c];
    camera["done"] = count[Status::Done];
    camera["kept"] = count[Status::Kept];
    camera["failed"] = count[Status::Failed];
    camera["iso_range"] = iso.asJson();
    camera["f_number_range"] = fNumber.asJson();
    camera["masked_share"] = orNull(pixels > 0.0 ? masked / pixels : kAbsent);
    camera["worst_masked"] = worst == nullptr ? json()
                                              : json{{"share", worst->maskedPixels / worst->pixels},
                                                     {"file", worst->path}};
    camera["steps"] = json::array();
    for (std::size_t s = 0; s < steps.size(); ++s) {
        if (steps[s] > 0) {
            camera["steps"].push_back({{"name", run.stepNames[s]}, {"images", steps[s]}});
        }
    }
    return camera;
}

/// Texts, each with the paths it was said of; the most frequent first.
class Remarks {
public:
    void add(const std::string& path, const std::string& text) {
        Entry& entry = m_byText[text];
        ++entry.count;
        if (entry.paths.size() < kMostPaths) {
            entry.paths.push_back(path);
        }
    }
    [[nodiscard]] json asJson() const {
        json list = json::array();
        for (const auto& [text, entry] : m_byText) {
            list.push_back({{"text", text}, {"count", entry.count}, {"paths", entry.paths}});
        }
        std::stable_sort(list.begin(), list.end(), [](const json& a, const json& b) {
            return a["count"] > b["count"];
        });
        return list;
    }

private:
    struct Entry {
        std::size_t count = 0;
        std::vector<std::string> paths;
    };
    std::map<std::string, Entry> m_byText;
};

void addProblems(const RunFiles& run, json& page) {
    Remarks failures;
    std::map<Status, std::size_t> count;
    for (const ImageRecord& image : run.images) {
        ++count[image.status];
        if (image.status == Status::Failed) {
            failures.add(image.path, image.failure.empty() ? "no reason is known" : image.failure);
        }
    }
    for (const json& failure : run.plan["failures"]) {
        failures.add(textIn(failure, "path"), textIn(failure, "reason"));
    }
    const std::size_t failed = count[Status::Failed] + run.plan["failures"].size();
    Remarks warnings;
    for (const json& warning : run.plan["warnings"]) {
        warnings.add(textIn(warning, "path"), textIn(warning, "text"));
    }
    page["totals"] = {{"done", count[Status::Done]},
                      {"kept", count[Status::Kept]},
                      {"failed", failed},
                      {"not_reached", count[Status::NotReached]}};
    page["failures"] = failures.asJson();
    page["warnings"] = warnings.asJson();
    page["damaged_records"] = run.damagedLines;
    page["stray_records"] = run.strangers;
}

} // namespace

json pageData(const RunFiles& run) {
    const Flight flight(run);
    const auto labels = bandLabels(run);
    json page;
    addProblems(run, page);
    page["folder"] = run.folder.u8string();
    page["library_version"] = textIn(run.plan, "library_version");
    page["start_unix"] = orNull(flight.start());
    page["duration_s"] = orNull(flight.duration());
    page["area_m2"] = orNull(flight.area().value_or(kAbsent));
    page["most_points"] = kMostPoints;
    page["cameras"] = json::array();
    for (std::size_t c = 0; c < labels.size(); ++c) {
        page["cameras"].push_back(cameraOf(run, c));
    }
    page["sunlight"] = run.plan["sunlight"];
    page["light"] = lightOf(run, flight, labels);
    page["exposure_ms"] = curvesOf(run, flight, labels, [](const ImageRecord& image) {
        return 1000.0 * static_cast<double>(image.exposureSeconds);
    });
    page["sun_elevation_deg"] = curvesOf(run, flight, labels, [](const ImageRecord& image) {
        return static_cast<double>(image.sunElevationDeg);
    });
    page["sensor_tilt_deg"] = curvesOf(run, flight, labels, [](const ImageRecord& image) {
        return static_cast<double>(image.sensorTiltDeg);
    });
    page["quick_looks"] = quickLooks(run, flight, labels);
    page["targets"] = targetsOf(run);
    return page;
}

} // namespace tessik::app::report
