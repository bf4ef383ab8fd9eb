#pragma once

#include "flight/json/Json.h"
#include "flight/plan/Plan.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

/// Name of the result in an output folder.
constexpr auto kOverlapFile = "overlaps.json";

/// How two images that show the same ground differ there in one band.
struct Step {
    std::uint64_t cameraId = 0;
    std::size_t band = 0;
    bool isAlong = true; ///< along a line of flight; else between two lines
    double turn = 0.0;   ///< of the second image from the first, degrees
    // Median over the common ground of the logarithm of second / first
    double raw = 0.0;       ///< of the values in the files
    double corrected = 0.0; ///< of the corrected values
};

/// By how much neighbouring images typically differ: the median over the pairs of larger / smaller
/// - 1. 0.01 = 1 %; absent = there is no pair.
struct Difference {
    std::optional<double> raw;
    std::optional<double> corrected;
};

struct BandOverlaps {
    std::uint64_t cameraId = 0;
    std::string name; ///< empty = not known
    std::optional<double> wavelengthNm;
    std::size_t pairs = 0;
    Difference all;
    Difference along;           ///< one after the other on a line of flight
    Difference across;          ///< on two lines
    Difference sameHeading;     ///< turned by less than 45 degrees
    Difference oppositeHeading; ///< turned by more than 135 degrees
};

/// How well the images of a flight agree where they show the same ground.
struct OverlapResult {
    std::size_t chosenPairs = 0; ///< band by band, as all pairs here
    std::size_t pairs = 0;       ///< that were measured
    std::size_t readImages = 0;
    Difference all;
    std::vector<BandOverlaps> bands; ///< in the order of wavelength
};

/// Sums up what was measured. @param plan names the bands
OverlapResult summaryOf(const std::vector<Step>& steps, const Plan& plan);

/// Why no pair was measured; empty where one was.
std::string whyNothing(const OverlapResult& result);

Json toJson(const OverlapResult& result);

/// Writes the result into an output folder. When some images of the flight were not seen because
/// their outputs are kept, and few pairs are left, the file of an earlier run is left as it is.
/// @param hasKept whether outputs were kept
/// @throws std::runtime_error when it cannot be written
void writeOverlaps(const OverlapResult& result, const std::filesystem::path& folder, bool hasKept);

} // namespace tessik::flight
