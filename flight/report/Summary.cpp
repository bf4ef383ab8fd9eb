#include "flight/report/Summary.h"

#include "flight/report/BandOrder.h"
#include "flight/report/QuickLooks.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// Paths named for one reason; the others are counted.
constexpr std::size_t kMaxPaths = 50;

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

/// Texts, each with the paths it was said of; the most frequent first.
class Remarks {
public:
    void add(const std::string& path, const std::string& text) {
        Entry& entry = m_byText[text];
        ++entry.count;
        if (entry.paths.size() < kMaxPaths) {
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

/// More would make a page that opens slowly. A flight has a target image or two a band.
constexpr std::size_t kMaxPictures = 60;
constexpr std::uintmax_t kMaxBytes = 4U << 20U;

std::optional<std::string> readPng(const fs::path& path) {
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(path, failure);
    if (failure || size > kMaxBytes) {
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0) {
        return std::nullopt;
    }
    return bytes;
}

/// Where each camera stands in the order of wavelength, by its identifier.
std::map<std::string, std::size_t> placeByCamera(const RunFiles& run) {
    std::map<std::string, std::size_t> places;
    for (const std::size_t c : cameraOrder(run)) {
        places.emplace(textIn(run.cameras()[c], "id"), places.size());
    }
    return places;
}

} // namespace

json cameraSummary(const RunFiles& run, std::size_t c) {
    std::map<Status, std::size_t> count;
    Range iso;
    Range fNumber;
    double masked = 0.0;
    double pixels = 0.0;
    const ImageRecord* worst = nullptr;
    std::vector<std::pair<std::string, std::size_t>> steps; // name, images
    for (const ImageRecord& image : run.images) {
        if (image.camera != c) {
            continue;
        }
        ++count[image.status];
        iso.add(image.iso);
        fNumber.add(image.fNumber);
        for (const std::string& name : image.steps) {
            const auto known = std::find_if(steps.begin(), steps.end(), [&name](const auto& step) {
                return step.first == name;
            });
            ++(known == steps.end() ? steps.emplace_back(name, 0) : *known).second;
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
    for (const auto& [name, images] : steps) {
        camera["steps"].push_back({{"name", name}, {"images", images}});
    }
    return camera;
}

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
    page["stray_records"] = run.strayRecords;
    page["overlaps_failure"] = run.overlapsFailure;
}

json targetsOf(const RunFiles& run) {
    json targets = run.plan["targets"];
    const std::map<std::string, std::size_t> places = placeByCamera(run);
    const auto place = [&places](const json& target) {
        const auto found = places.find(textIn(target, "camera"));
        return std::make_pair(!target.value("used", false),
                              found == places.end() ? places.size() : found->second);
    };
    std::stable_sort(targets.begin(), targets.end(), [&place](const json& a, const json& b) {
        return place(a) < place(b);
    });
    std::size_t pictures = 0;
    for (json& target : targets) {
        const std::string name = textIn(target, "picture");
        const bool isLeftOut = !name.empty() && pictures == kMaxPictures;
        const auto bytes =
            name.empty() || isLeftOut ? std::nullopt : readPng(run.folder / fs::u8path(name));
        pictures += bytes ? 1 : 0;
        target["picture_left_out"] = isLeftOut;
        target["picture"] = bytes ? json(pngUri(*bytes)) : json();
        json& histogram = target["histogram"];
        if (histogram.is_object()) {
            histogram = json::array({histogram});
        } else if (!histogram.is_array()) {
            histogram = json::array();
        }
        target.erase("code");
        for (const json& camera : run.cameras()) {
            if (textIn(camera, "id") == textIn(target, "camera")) {
                reorder(target,
                        {"reflectance",
                         "mean",
                         "standard_deviation",
                         "invalid_share",
                         "sensitivity",
                         "histogram"},
                        bandOrder(camera, camera.value("bands", json::array()).size()));
            }
        }
    }
    return targets;
}

} // namespace tessik::flight::report
