#pragma once

#include "flight/overlap/Choice.h"
#include "flight/overlap/Comparison.h"
#include "flight/overlap/OverlapResult.h"
#include "flight/run/PixelWatcher.h"

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// Compares neighbouring images of a flight where they show the same ground. It chooses some pairs
/// and keeps small copies of their images, while somebody corrects them.
class Overlaps final : public PixelWatcher {
public:
    /// Pairs of bands that are compared at most. Each takes up to four bands of kReducedWidth
    /// columns, in all some 60 MB.
    static constexpr std::size_t kMostPairs = 200;

    /// Chooses, which reads metadata. @param plan must outlive this
    Overlaps(const Plan& plan, std::size_t mostPairs, int jobs);

    /// So many that comparing them takes a small share of the time that correcting all images of a
    /// plan takes: 40 to kMostPairs.
    static std::size_t pairsBesides(const Plan& plan);

    /// The images that are wanted, camera by camera.
    [[nodiscard]] std::vector<const PlannedImage*> images() const;

    [[nodiscard]] bool wants(const PlannedImage& planned) const override;
    void
    takeRaw(const PlannedImage& planned, const InputImage& image, const BandImage& bands) override;
    void takeCorrected(const PlannedImage& planned, const BandImage& bands) override;

    /// Of the pairs whose images were both seen.
    [[nodiscard]] OverlapResult result(int jobs) const;

private:
    const Plan& m_plan;
    Choice m_choice;
    std::vector<Frame> m_frames;                            ///< one a chosen image
    std::unordered_map<std::string, std::size_t> m_indices; ///< of frames, by output
};

/// Reads and corrects some images of a plan, which holds its models, and compares them. Writes
/// nothing. The observer hears of images that cannot be corrected.
OverlapResult measureOverlaps(const Plan& plan, int jobs, Observer& observer);

} // namespace tessik::flight
