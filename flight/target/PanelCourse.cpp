#include "flight/target/PanelCourse.h"

#include "flight/target/PanelErrors.h"

#include <QtCore/QString>

#include <algorithm>
#include <cmath>
#include <map>

namespace tessik::flight {
namespace {

using radiometry::MeasuredTarget;

/// Panels of one camera that belong together in time.
struct PanelGroup {
    double time = 0.0;
    std::vector<double> sensitivity;
    double error = 0.0; ///< relative
};

/// Means of the panels within two minutes, in the order of time.
std::vector<PanelGroup> groupsOf(std::uint64_t camera,
                                 const Flight& flight,
                                 const Project& project,
                                 const RigCalibration& measured) {
    constexpr double kTogether = 120.0; // s
    std::vector<PanelGroup> singles;
    for (const MeasuredTarget& target : measured.targets) {
        if (target.isUsed && target.cameraId == camera) {
            const InputImage& image = flight.images[target.imageIndex];
            singles.push_back({image.geo.captureTime,
                               target.target.sensitivity,
                               panelError(image, target, project, measured.witnesses)});
        }
    }
    std::sort(singles.begin(), singles.end(), [](const auto& a, const auto& b) {
        return a.time < b.time;
    });
    std::vector<PanelGroup> groups;
    double count = 0.0;
    for (const PanelGroup& single : singles) {
        if (groups.empty() || single.time - groups.back().time > kTogether) {
            groups.push_back(single);
            count = 1.0;
            continue;
        }
        PanelGroup& group = groups.back();
        count += 1.0;
        group.time += (single.time - group.time) / count;
        for (std::size_t b = 0; b < group.sensitivity.size(); ++b) {
            group.sensitivity[b] += (single.sensitivity[b] - group.sensitivity[b]) / count;
        }
    }
    return groups;
}

/// Median over the bands of a rig of the difference between first and last panels, in its errors.
double differenceOf(const std::map<std::uint64_t, std::vector<PanelGroup>>& groups) {
    std::vector<double> differences;
    for (const auto& [camera, list] : groups) {
        if (list.size() < 2) {
            return 0.0; // bands of a rig have their panels in common
        }
        const double error = std::hypot(list.front().error, list.back().error);
        for (std::size_t b = 0; b < list.front().sensitivity.size(); ++b) {
            const double change =
                std::log(list.back().sensitivity[b] / list.front().sensitivity[b]);
            differences.push_back(std::abs(change) / error);
        }
    }
    if (differences.empty()) {
        return 0.0;
    }
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    return *middle;
}

std::vector<double> weightedMean(const std::vector<PanelGroup>& groups) {
    std::vector<double> mean(groups.front().sensitivity.size(), 0.0);
    double weights = 0.0;
    for (const PanelGroup& group : groups) {
        const double weight = 1.0 / (group.error * group.error);
        weights += weight;
        for (std::size_t b = 0; b < mean.size(); ++b) {
            mean[b] += weight * group.sensitivity[b];
        }
    }
    for (double& value : mean) {
        value /= weights;
    }
    return mean;
}

} // namespace

void followPanels(const Flight& flight,
                  const Project& project,
                  const RigCalibration& measured,
                  SensitivityByCamera& sensitivities) {
    constexpr double kBeyondErrors = 2.0;
    for (const Rig& rig : project.rigs) {
        std::map<std::uint64_t, std::vector<PanelGroup>> groups;
        for (const std::uint64_t camera : rig) {
            if (sensitivities.count(camera) > 0) {
                groups[camera] = groupsOf(camera, flight, project, measured);
            }
        }
        const bool drifts = differenceOf(groups) > kBeyondErrors;
        for (const auto& [camera, list] : groups) {
            if (list.size() < 2) {
                continue;
            }
            Sensitivity& sensitivity = sensitivities.at(camera);
            sensitivity.values = weightedMean(list);
            if (!drifts) {
                continue;
            }
            for (const PanelGroup& group : list) {
                sensitivity.course.push_back({group.time, group.sensitivity});
            }
            const double change =
                list.back().sensitivity.front() / list.front().sensitivity.front();
            sensitivity.text +=
                ("; interpolated in time, since it changes by " +
                 QString::number(100.0 * (change - 1.0), 'f', 1) + " % between the panels")
                    .toStdString();
        }
    }
}

} // namespace tessik::flight
