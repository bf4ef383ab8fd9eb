#include "flight/report/Targets.h"

#include "flight/report/QuickLooks.h"

#include <algorithm>
#include <fstream>
#include <optional>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

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

} // namespace

json targetsOf(const RunFiles& run) {
    json targets = run.plan["targets"];
    std::stable_sort(targets.begin(), targets.end(), [](const json& a, const json& b) {
        return a.value("used", false) && !b.value("used", false);
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
    }
    return targets;
}

} // namespace tessik::flight::report
