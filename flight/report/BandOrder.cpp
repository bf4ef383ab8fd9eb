#include "flight/report/BandOrder.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace tessik::flight::report {
namespace {

using nlohmann::json;

std::vector<std::size_t> orderOf(const std::vector<double>& ranks) {
    std::vector<std::size_t> order(ranks.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&ranks](std::size_t a, std::size_t b) {
        return ranks[a] < ranks[b];
    });
    return order;
}

} // namespace

double rankOf(double wavelengthNm) {
    return wavelengthNm > 0.0 ? wavelengthNm : std::numeric_limits<double>::infinity();
}

void sortByWavelength(json& list) {
    std::stable_sort(list.begin(), list.end(), [](const json& a, const json& b) {
        return rankOf(numberIn(a, "wavelength_nm")) < rankOf(numberIn(b, "wavelength_nm"));
    });
}

std::vector<std::size_t> cameraOrder(const RunFiles& run) {
    std::vector<double> ranks;
    for (const json& camera : run.cameras()) {
        double shortest = rankOf(kAbsent);
        for (const json& band : camera.value("bands", json::array())) {
            shortest = std::min(shortest, rankOf(numberIn(band, "wavelength_nm")));
        }
        ranks.push_back(shortest);
    }
    return orderOf(ranks);
}

std::vector<std::size_t> bandOrder(const json& camera, std::size_t bandCount) {
    std::vector<double> ranks(bandCount, rankOf(kAbsent));
    const json bands = camera.value("bands", json::array());
    for (std::size_t b = 0; b < std::min(bandCount, bands.size()); ++b) {
        ranks[b] = rankOf(numberIn(bands[b], "wavelength_nm"));
    }
    return orderOf(ranks);
}

void reorder(json& object,
             std::initializer_list<const char*> keys,
             const std::vector<std::size_t>& order) {
    for (const char* key : keys) {
        const auto found = object.find(key);
        if (found == object.end() || !found->is_array() || found->size() != order.size()) {
            continue;
        }
        json sorted = json::array();
        for (const std::size_t i : order) {
            sorted.push_back(std::move((*found)[i]));
        }
        *found = std::move(sorted);
    }
}

} // namespace tessik::flight::report
