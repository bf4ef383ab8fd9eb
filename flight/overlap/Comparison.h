#pragma once

#include "flight/overlap/OverlapResult.h"
#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessik::flight {

/// A small copy of an image, as it was and corrected. The lists have one entry a band.
struct Frame {
    BandImage raw;
    BandImage corrected; ///< empty = not seen

    [[nodiscard]] bool isSeen() const {
        return !corrected.empty() && corrected.size() == raw.size();
    }
};

/// Two frames of one camera that may show the same ground.
struct FramePair {
    std::size_t first = 0;
    std::size_t second = 0;
    std::uint64_t cameraId = 0;
    bool isAlong = true;            ///< one after the other on a line of flight; else on two lines
    double turn = 0.0;              ///< of the second image from the first, clockwise, degrees
    Eigen::Vector2d move{0.0, 0.0}; ///< of the second from the first, right and down in its axes, m
};

/// Placements that are less certain may be chance. Of 900 pairs of images of different ground none
/// reached more than 0.2; those of the same ground typically reach 0.3 to 1.
constexpr double kLeastCertainty = 0.25;
/// Share of the first image.
constexpr double kLeastOverlap = 0.2;

/// Compares the pairs whose frames were both seen, band by band; those that cannot be laid on each
/// other are left out. How much ground a pixel shows is learned from the pairs along the lines.
std::vector<Step>
compare(const std::vector<Frame>& frames, const std::vector<FramePair>& pairs, int jobs);

} // namespace tessik::flight
