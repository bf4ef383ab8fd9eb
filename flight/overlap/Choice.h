#pragma once

#include "flight/overlap/Comparison.h"
#include "flight/plan/Plan.h"

#include <cstddef>
#include <vector>

namespace tessik::flight {

/// An image that takes part in a comparison.
struct ChosenImage {
    std::size_t image = 0; ///< index in the plan
    double time = 0.0;     ///< when its capture was taken, s
};

struct Choice {
    std::vector<ChosenImage> images;
    std::vector<FramePair> pairs; ///< by indices of these images
    std::size_t bandPairs = 0;    ///< of bands: a pair counts once for each of its bands
};

/// Chooses pairs of neighbouring images over all cameras of a plan. Thermal images and those of
/// targets are left out. Of the cameras that have equally many images (the bands of a rig), the
/// metadata of one are read, and the others follow it image by image; images whose metadata cannot
/// be read, or state no time or place, take no part.
/// @param mostPairs of bands
Choice choosePairs(const Plan& plan, std::size_t mostPairs, int jobs);

} // namespace tessik::flight
