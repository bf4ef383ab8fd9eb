#include "flight/overlap/Comparison.h"

#include "flight/Parallel.h"
#include "flight/overlap/Registration.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace tessik::flight {
namespace {

template <typename Number>
double medianOf(std::vector<Number>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return static_cast<double>(*middle);
}

/// A band of a pair.
struct Task {
    const FramePair* pair;
    std::size_t band;
    std::optional<Placement> placement;
    std::optional<Step> step;
};

class Comparer {
public:
    Comparer(const std::vector<Frame>& frames, int jobs)
        : m_frames(frames), m_jobs(jobs), m_details(frames.size()) {}

    void findDetails() {
        inParallel(m_frames.size(), m_jobs, [this](std::size_t i) {
            if (m_frames[i].isSeen()) {
                for (const BandMatrix& band : m_frames[i].corrected) {
                    m_details[i].push_back(detailsOf(band));
                }
            }
        });
    }

    /// Places some pairs along the lines of each camera, without knowing where they lie.
    void placeScouts(std::vector<Task>& tasks) const {
        constexpr std::size_t kScouts = 8;
        std::map<std::uint64_t, std::size_t> counts;
        std::vector<Task*> scouts;
        for (Task& task : tasks) {
            if (task.pair->isAlong && counts[task.pair->cameraId]++ < kScouts) {
                scouts.push_back(&task);
            }
        }
        inParallel(scouts.size(), m_jobs, [&](std::size_t i) {
            scouts[i]->placement = placed(*scouts[i], std::nullopt);
        });
    }

    /// The width of a pixel on the ground, m, by camera.
    static std::map<std::uint64_t, double> groundSizes(const std::vector<Task>& tasks) {
        constexpr double kShort = 4.0; // px: a shift that tells little
        std::map<std::uint64_t, std::vector<double>> found;
        for (const Task& task : tasks) {
            if (task.placement && task.placement->shift.norm() > kShort) {
                found[task.pair->cameraId].push_back(task.pair->move.norm() /
                                                     task.placement->shift.norm());
            }
        }
        std::map<std::uint64_t, double> sizes;
        for (auto& [camera, list] : found) {
            sizes[camera] = medianOf(list);
        }
        return sizes;
    }

    void placeOthers(std::vector<Task>& tasks) const {
        const std::map<std::uint64_t, double> sizes = groundSizes(tasks);
        inParallel(tasks.size(), m_jobs, [&](std::size_t i) {
            if (!tasks[i].placement) {
                const auto size = sizes.find(tasks[i].pair->cameraId);
                tasks[i].placement = placed(
                    tasks[i],
                    size == sizes.end()
                        ? std::nullopt
                        : std::optional<Eigen::Vector2d>(tasks[i].pair->move / size->second));
            }
            tasks[i].step = stepOf(tasks[i]);
        });
    }

private:
    [[nodiscard]] std::optional<Placement>
    placed(const Task& task, const std::optional<Eigen::Vector2d>& expected) const {
        const auto placement = place(m_details[task.pair->first][task.band],
                                     m_details[task.pair->second][task.band],
                                     task.pair->turn,
                                     expected);
        return placement && placement->certainty() >= kLeastCertainty ? placement : std::nullopt;
    }

    [[nodiscard]] std::optional<Step> stepOf(const Task& task) const {
        if (!task.placement) {
            return std::nullopt;
        }
        const Frame& first = m_frames[task.pair->first];
        const Frame& second = m_frames[task.pair->second];
        const BandMatrix raw = laid(second.raw[task.band], *task.placement);
        const BandMatrix corrected = laid(second.corrected[task.band], *task.placement);
        std::vector<float> rawRatios;
        std::vector<float> ratios;
        for (Eigen::Index i = 0; i < raw.size(); ++i) {
            const float before = first.raw[task.band].data()[i];
            const float after = first.corrected[task.band].data()[i];
            // NaN is not above 0.
            if (before > 0.0F && after > 0.0F && raw.data()[i] > 0.0F &&
                corrected.data()[i] > 0.0F) {
                rawRatios.push_back(raw.data()[i] / before);
                ratios.push_back(corrected.data()[i] / after);
            }
        }
        if (static_cast<double>(ratios.size()) < kLeastOverlap * static_cast<double>(raw.size()) ||
            ratios.empty()) {
            return std::nullopt;
        }
        return Step{task.pair->cameraId,
                    task.band,
                    task.pair->isAlong,
                    task.pair->turn,
                    std::log(medianOf(rawRatios)),
                    std::log(medianOf(ratios))};
    }

    const std::vector<Frame>& m_frames;
    int m_jobs;
    std::vector<BandImage> m_details;
};

std::vector<Task> tasksOf(const std::vector<Frame>& frames, const std::vector<FramePair>& pairs) {
    std::vector<Task> tasks;
    for (const FramePair& pair : pairs) {
        const Frame& first = frames[pair.first];
        const Frame& second = frames[pair.second];
        if (!first.isSeen() || !second.isSeen()) {
            continue;
        }
        for (std::size_t band = 0; band < std::min(first.raw.size(), second.raw.size()); ++band) {
            if (first.raw[band].rows() == second.raw[band].rows() &&
                first.raw[band].cols() == second.raw[band].cols() &&
                std::min(first.raw[band].rows(), first.raw[band].cols()) >= kLeastSide) {
                tasks.push_back({&pair, band, std::nullopt, std::nullopt});
            }
        }
    }
    return tasks;
}

} // namespace

std::vector<Step>
compare(const std::vector<Frame>& frames, const std::vector<FramePair>& pairs, int jobs) {
    Comparer comparer(frames, jobs);
    std::vector<Task> tasks = tasksOf(frames, pairs);
    comparer.findDetails();
    comparer.placeScouts(tasks);
    comparer.placeOthers(tasks);
    std::vector<Step> steps;
    for (const Task& task : tasks) {
        if (task.step) {
            steps.push_back(*task.step);
        }
    }
    return steps;
}

} // namespace tessik::flight
