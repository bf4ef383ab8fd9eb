#include "flight/report/PageData.h"

#include "flight/report/BandOrder.h"
#include "flight/report/Curves.h"
#include "flight/report/Evidence.h"
#include "flight/report/QuickLooks.h"
#include "flight/report/Summary.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace tessik::flight::report {
namespace {

using nlohmann::json;

/// Significant digits of a number in a chart.
constexpr int kDigits = 6;

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
    for (const std::size_t i : keepExtremes(curve.values, kMaxPoints)) {
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
    std::string name = textIn(band, "name");
    const double wavelength = numberIn(band, "wavelength_nm");
    if (!name.empty()) {
        return name;
    }
    return std::isfinite(wavelength) ? std::to_string(std::lround(wavelength)) + " nm"
                                     : "Band " + std::to_string(index + 1);
}

/// A colour camera's metadata name no bands, but its images have them.
std::size_t bandCountOf(const RunFiles& run, std::size_t camera) {
    const json& stated = run.cameras()[camera];
    const double pixels = numberIn(stated, "width") * numberIn(stated, "height");
    std::size_t count = stated.value("bands", json::array()).size();
    for (const ImageRecord& image : run.images) {
        constexpr double kMost = 1000.0;
        const double bands = image.camera == camera ? std::round(image.pixels / pixels) : kAbsent;
        if (bands >= 1.0 && bands <= kMost) {
            count = std::max(count, static_cast<std::size_t>(bands));
        }
    }
    return count;
}

/// What to call each band of each camera; two of one name get their cameras' names before them.
std::vector<std::vector<std::string>> bandLabels(const RunFiles& run) {
    std::vector<std::vector<std::string>> labels;
    std::map<std::string, int> uses;
    for (std::size_t c = 0; c < run.cameras().size(); ++c) {
        std::vector<std::string> names;
        const json bands = run.cameras()[c].value("bands", json::array());
        const std::size_t count = bandCountOf(run, c);
        for (std::size_t b = 0; b < count; ++b) {
            names.push_back(nameOf(b < bands.size() ? bands[b] : json::object(), b));
            ++uses[names.back()];
        }
        labels.push_back(std::move(names));
    }
    for (std::size_t c = 0; c < labels.size(); ++c) {
        for (std::string& label : labels[c]) {
            if (uses[label] > 1) {
                label.insert(0, textIn(run.cameras()[c], "name").append(": "));
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
json mapOf(const RunFiles& run, const Timeline& timeline, std::size_t camera, std::size_t band) {
    std::vector<const ImageRecord*> images;
    std::vector<double> values;
    bool isLevelled = false;
    for (const std::size_t i : timeline.order()) {
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
    for (const std::size_t i : keepExtremes(values, kMaxPoints)) {
        const Eigen::Vector2d position = timeline.local(*images[i]);
        map["x"].push_back(std::round(position.x() * 10.0) / 10.0);
        map["y"].push_back(std::round(position.y() * 10.0) / 10.0);
        map["value"].push_back(orNull(rounded(values[i])));
        map["time_unix"].push_back(orNull(milliseconds(images[i]->timeUnix)));
    }
    return map;
}

/// A camera has one reading a band, or one for all of them.
json lightOf(const RunFiles& run,
             const Timeline& timeline,
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
        const bool isPerBand = readings > 0 && readings == labels[c].size();
        for (std::size_t b = 0; b < std::max<std::size_t>(readings, 1); ++b) {
            const Curve raw = timeline.curveOf(
                c, [b](const ImageRecord& image) { return at(image.irradiance, b); });
            const Curve levelled = timeline.curveOf(
                c, [b](const ImageRecord& image) { return at(image.irradianceCorrected, b); });
            series.push_back({{"label", isPerBand ? labels[c][b] : labelOf(camera, labels[c])},
                              {"wavelength_nm", orNull(wavelengthOf(camera, b))},
                              {"raw", asJson(raw)},
                              {"corrected", asJson(levelled)},
                              {"map", mapOf(run, timeline, c, b)}});
        }
    }
    sortByWavelength(series);
    return series;
}

/// One curve a camera, those alike as one.
template <typename Value>
json curvesOf(const RunFiles& run,
              const Timeline& timeline,
              const std::vector<std::vector<std::string>>& labels,
              const Value& value) {
    std::vector<Curve> curves;
    for (const std::size_t c : cameraOrder(run)) {
        Curve curve = timeline.curveOf(c, value);
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

} // namespace

json pageData(const RunFiles& run) {
    const Timeline timeline(run);
    const auto labels = bandLabels(run);
    json page;
    addProblems(run, page);
    page["folder"] = run.folder.u8string();
    page["library_version"] = textIn(run.plan, "library_version");
    page["start_unix"] = orNull(timeline.start());
    page["duration_s"] = orNull(timeline.duration());
    page["area_m2"] = orNull(timeline.area().value_or(kAbsent));
    page["most_points"] = kMaxPoints;
    page["cameras"] = json::array();
    for (const std::size_t c : cameraOrder(run)) {
        json camera = cameraSummary(run, c);
        for (std::size_t b = camera["bands"].size(); b < labels[c].size(); ++b) {
            camera["bands"].push_back({{"name", labels[c][b]}});
        }
        reorder(camera, {"bands", "sensitivity"}, bandOrder(camera, labels[c].size()));
        page["cameras"].push_back(std::move(camera));
    }
    page["sunlight"] = run.plan["sunlight"];
    page["sky"] = skyOf(run);
    page["witnesses"] = witnessesOf(run);
    page["overlaps"] = overlapsOf(run);
    page["uncertainty"] = uncertaintyOf(run);
    page["light"] = lightOf(run, timeline, labels);
    page["exposure_ms"] = curvesOf(run, timeline, labels, [](const ImageRecord& image) {
        return 1000.0 * static_cast<double>(image.exposureSeconds);
    });
    page["sun_elevation_deg"] = curvesOf(run, timeline, labels, [](const ImageRecord& image) {
        return static_cast<double>(image.sunElevationDeg);
    });
    page["sensor_tilt_deg"] = curvesOf(run, timeline, labels, [](const ImageRecord& image) {
        return static_cast<double>(image.sensorTiltDeg);
    });
    page["quick_looks"] = quickLooks(run, timeline, labels);
    std::size_t bands = 0;
    for (const std::vector<std::string>& camera : labels) {
        bands += camera.size();
    }
    page["bands_left_out"] = bands - std::min(bands, kMaxQuickLooks);
    page["targets"] = targetsOf(run);
    return page;
}

} // namespace tessik::flight::report
