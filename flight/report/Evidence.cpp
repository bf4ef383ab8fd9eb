#include "flight/report/Evidence.h"

#include "flight/report/BandOrder.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace tessik::flight::report {
namespace {

using nlohmann::json;

/// The objects of a list. What is not a list has none: only these explain, and no run needs them.
std::vector<json> objectsIn(const json& object, const char* key) {
    std::vector<json> objects;
    if (object.is_object() && object.contains(key) && object[key].is_array()) {
        std::copy_if(object[key].begin(),
                     object[key].end(),
                     std::back_inserter(objects),
                     [](const json& item) { return item.is_object(); });
    }
    return objects;
}

std::vector<std::string> textsIn(const json& object, const char* key) {
    std::vector<std::string> texts;
    if (object.contains(key) && object[key].is_array()) {
        for (const json& item : object[key]) {
            if (item.is_string()) {
                texts.push_back(item.get<std::string>());
            }
        }
    }
    return texts;
}

json numbersOf(const json& object, std::initializer_list<const char*> keys) {
    json numbers = json::object();
    for (const char* key : keys) {
        numbers[key] = orNull(numberIn(object, key));
    }
    return numbers;
}

json member(const json& object, const char* key) {
    return object.is_object() && object.contains(key) ? object[key] : json();
}

/// Index of the camera that an identifier or a name stands for; the count of cameras if none.
std::size_t cameraBy(const RunFiles& run, const std::string& idOrName) {
    const json& cameras = run.cameras();
    for (const char* key : {"id", "name"}) {
        for (std::size_t c = 0; c < cameras.size(); ++c) {
            if (textIn(cameras[c], key) == idOrName) {
                return c;
            }
        }
    }
    return cameras.size();
}

std::string cameraName(const RunFiles& run, const std::string& idOrName) {
    const std::size_t c = cameraBy(run, idOrName);
    const std::string name = c < run.cameras().size() ? textIn(run.cameras()[c], "name") : "";
    return name.empty() ? idOrName : name;
}

/// Names of a rig's cameras by wavelength; none if they are all that there are.
json camerasOf(const RunFiles& run, const std::vector<std::string>& stated) {
    std::vector<std::size_t> places(run.cameras().size() + 1, run.cameras().size());
    const std::vector<std::size_t> order = cameraOrder(run);
    for (std::size_t place = 0; place < order.size(); ++place) {
        places[order[place]] = place;
    }
    std::vector<std::pair<std::size_t, std::string>> named;
    named.reserve(stated.size());
    for (const std::string& idOrName : stated) {
        named.emplace_back(places[cameraBy(run, idOrName)], cameraName(run, idOrName));
    }
    std::stable_sort(
        named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    json names = json::array();
    if (named.size() < run.cameras().size()) {
        for (auto& [place, name] : named) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

json mountOf(const json& rig) {
    const json mount = member(rig, "mount_deg");
    const bool isMount =
        mount.is_array() && mount.size() == 2 && mount[0].is_number() && mount[1].is_number();
    return isMount ? mount : json();
}

json termsOf(const json& band) {
    json terms = json::array();
    for (const json& term : objectsIn(band, "terms")) {
        terms.push_back({{"name", textIn(term, "name")},
                         {"kind", textIn(term, "kind")},
                         {"value", orNull(numberIn(term, "value"))}});
    }
    return terms;
}

double wavelengthOf(const json& camera, const std::string& bandName, std::size_t band) {
    const std::vector<json> bands = objectsIn(camera, "bands");
    for (const json& stated : bands) {
        if (!bandName.empty() && textIn(stated, "name") == bandName) {
            return numberIn(stated, "wavelength_nm");
        }
    }
    return band < bands.size() ? numberIn(bands[band], "wavelength_nm") : kAbsent;
}

} // namespace

json skyOf(const RunFiles& run) {
    json rigs = json::array();
    for (const json& rig : objectsIn(member(run.plan, "light"), "rigs")) {
        const json jitter = member(rig, "jitter");
        rigs.push_back(
            {{"cameras", camerasOf(run, textsIn(rig, "cameras"))},
             {"state", textIn(rig, "state")},
             {"reason", textIn(rig, "reason")},
             {"type_reason", textIn(rig, "type_reason")},
             {"jitter", jitter.is_object() ? numbersOf(jitter, {"raw", "steady"}) : json()},
             {"mount_deg", mountOf(rig)},
             {"choice", textIn(rig, "choice")}});
    }
    return rigs;
}

json witnessesOf(const RunFiles& run) {
    json rows = json::array();
    for (const json& witness : objectsIn(run.plan, "witnesses")) {
        json row = numbersOf(witness,
                             {"time_unix",
                              "wavelength_nm",
                              "sun_elevation_deg",
                              "clear_sky",
                              "sensor",
                              "panel",
                              "sensor_ratio",
                              "panel_ratio",
                              "panel_to_sensor"});
        const std::string name = textIn(witness, "camera_name");
        row["camera"] = name.empty() ? cameraName(run, textIn(witness, "camera")) : name;
        row["is_absolute"] = member(witness, "is_absolute") != json(false);
        for (const char* text : {"path", "band", "verdict"}) {
            row[text] = textIn(witness, text);
        }
        rows.push_back(std::move(row));
    }
    std::stable_sort(rows.begin(), rows.end(), [](const json& a, const json& b) {
        return numberIn(a, "time_unix") < numberIn(b, "time_unix");
    });
    sortByWavelength(rows);
    return rows;
}

json overlapsOf(const RunFiles& run) {
    if (!run.overlaps.is_object()) {
        return nullptr;
    }
    json overlaps = numbersOf(run.overlaps, {"pairs", "raw", "corrected"});
    overlaps["bands"] = json::array();
    for (const json& band : objectsIn(run.overlaps, "bands")) {
        json row = numbersOf(band, {"wavelength_nm", "pairs"});
        row["camera"] = cameraName(run, textIn(band, "camera"));
        row["band"] = textIn(band, "band");
        for (const char* kind : {"all", "along", "across", "same_heading", "opposite_heading"}) {
            row[kind] = numbersOf(member(band, kind), {"raw", "corrected"});
        }
        overlaps["bands"].push_back(std::move(row));
    }
    sortByWavelength(overlaps["bands"]);
    return overlaps;
}

json uncertaintyOf(const RunFiles& run) {
    json rows = json::array();
    for (const json& camera : run.cameras()) {
        const std::vector<json> bands = objectsIn(camera, "uncertainty");
        for (std::size_t b = 0; b < bands.size(); ++b) {
            json row = numbersOf(bands[b], {"systematic", "random"});
            const double combined =
                std::hypot(numberIn(bands[b], "systematic"), numberIn(bands[b], "random"));
            row["combined"] = orNull(combined);
            row["camera"] = textIn(camera, "name");
            row["band"] = textIn(bands[b], "band");
            row["wavelength_nm"] = orNull(wavelengthOf(camera, textIn(bands[b], "band"), b));
            row["terms"] = termsOf(bands[b]);
            row["not_included"] = textsIn(bands[b], "not_included");
            rows.push_back(std::move(row));
        }
    }
    sortByWavelength(rows);
    return rows;
}

} // namespace tessik::flight::report
