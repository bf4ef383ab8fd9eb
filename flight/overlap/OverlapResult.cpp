#include "flight/overlap/OverlapResult.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <system_error>
#include <utility>

namespace tessik::flight {
namespace {

constexpr double kSame = 45.0;      ///< degrees
constexpr double kOpposite = 135.0; ///< degrees

std::optional<double> medianOf(std::vector<double> values) {
    if (values.empty()) {
        return std::nullopt;
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

Difference differenceOf(const std::vector<Step>& steps,
                        const std::function<bool(const Step&)>& counts) {
    std::vector<double> raw;
    std::vector<double> corrected;
    for (const Step& step : steps) {
        if (counts(step)) {
            raw.push_back(std::expm1(std::abs(step.raw)));
            corrected.push_back(std::expm1(std::abs(step.corrected)));
        }
    }
    return {medianOf(std::move(raw)), medianOf(std::move(corrected))};
}

bool any(const Step& /*step*/) {
    return true;
}

void nameBand(const Plan& plan, std::size_t index, BandOverlaps& band) {
    const auto camera =
        std::find_if(plan.cameras.begin(), plan.cameras.end(), [&](const PlannedCamera& one) {
            return one.id == band.cameraId;
        });
    if (camera == plan.cameras.end()) {
        return;
    }
    if (index < camera->bandNames.size()) {
        band.name = camera->bandNames[index];
    }
    if (index < camera->bands.size()) {
        band.wavelengthNm = camera->bands[index].wavelengthNm;
    }
}

Json toJson(const Difference& difference) {
    return {{"raw", orNull(difference.raw)}, {"corrected", orNull(difference.corrected)}};
}

} // namespace

OverlapResult summaryOf(const std::vector<Step>& steps, const Plan& plan) {
    std::map<std::pair<std::uint64_t, std::size_t>, std::vector<Step>> byBand;
    for (const Step& step : steps) {
        byBand[{step.cameraId, step.band}].push_back(step);
    }
    OverlapResult result;
    result.pairs = steps.size();
    result.all = differenceOf(steps, any);
    for (const auto& [key, ofBand] : byBand) {
        BandOverlaps& band = result.bands.emplace_back();
        band.cameraId = key.first;
        nameBand(plan, key.second, band);
        band.pairs = ofBand.size();
        band.all = differenceOf(ofBand, any);
        band.along = differenceOf(ofBand, [](const Step& step) { return step.isAlong; });
        band.across = differenceOf(ofBand, [](const Step& step) { return !step.isAlong; });
        band.sameHeading =
            differenceOf(ofBand, [](const Step& step) { return std::abs(step.turn) < kSame; });
        band.oppositeHeading =
            differenceOf(ofBand, [](const Step& step) { return std::abs(step.turn) > kOpposite; });
    }
    const auto wavelength = [](const BandOverlaps& band) {
        return band.wavelengthNm.value_or(std::numeric_limits<double>::infinity());
    };
    std::stable_sort(result.bands.begin(),
                     result.bands.end(),
                     [&](const BandOverlaps& a, const BandOverlaps& b) {
                         return wavelength(a) < wavelength(b);
                     });
    return result;
}

std::string whyNothing(const OverlapResult& result) {
    if (result.pairs > 0) {
        return {};
    }
    if (result.chosenPairs == 0) {
        return "no two images of a camera are neighbours by their times and positions; check "
               "that the images state both";
    }
    if (result.readImages == 0) {
        return "none of the images that would be compared could be read and corrected";
    }
    return "none of " + std::to_string(result.chosenPairs) +
           " pairs of neighbouring images could be laid on each other: they have less than a fifth "
           "of their ground in common, or the ground looks the same everywhere";
}

Json toJson(const OverlapResult& result) {
    Json bands = Json::array();
    for (const BandOverlaps& band : result.bands) {
        bands.push_back({{"camera", std::to_string(band.cameraId)},
                         {"band", orNull(band.name)},
                         {"wavelength_nm", orNull(band.wavelengthNm)},
                         {"pairs", band.pairs},
                         {"all", toJson(band.all)},
                         {"along", toJson(band.along)},
                         {"across", toJson(band.across)},
                         {"same_heading", toJson(band.sameHeading)},
                         {"opposite_heading", toJson(band.oppositeHeading)}});
    }
    return {{"pairs", result.pairs},
            {"read_images", result.readImages},
            {"raw", orNull(result.all.raw)},
            {"corrected", orNull(result.all.corrected)},
            {"bands", bands}};
}

void writeOverlaps(const OverlapResult& result, const std::filesystem::path& folder, bool hasKept) {
    constexpr std::size_t kEnough = 10;
    const std::filesystem::path file = folder / kOverlapFile;
    std::error_code ignored;
    if (hasKept && result.pairs < kEnough && std::filesystem::exists(file, ignored)) {
        return;
    }
    if (result.pairs > 0) {
        writeWhole(file.string(), textOf(toJson(result), 2) + "\n");
    } else if (!hasKept) {
        std::filesystem::remove(file, ignored); // it is of images that are no longer there
    }
}

} // namespace tessik::flight
