#include "calibrationTarget/Choice.h"

#include "platform/text/Text.h"
#include "radiometry/config/ExposureMetadata.h"

#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <cmath>

namespace tessik::radiometry::detail {
namespace {

QString percent(double share) {
    return QString::number(100.0 * share, 'f', 1) + " %";
}

QString describe(const std::vector<const MeasuredTarget*>& targets) {
    QStringList names;
    for (const MeasuredTarget* target : targets) {
        const QString id = target->target.id.isEmpty() ? QString() : " " + target->target.id;
        names << target->detector + id + " in " + QFileInfo(target->imagePath).fileName();
    }
    return names.join(QStringLiteral(", "));
}

std::vector<const MeasuredTarget*> usedTargetsOf(std::uint64_t cameraId,
                                                 const std::vector<MeasuredTarget>& targets) {
    std::vector<const MeasuredTarget*> used;
    for (const MeasuredTarget& target : targets) {
        if (target.cameraId == cameraId && target.isUsed) {
            used.push_back(&target);
        }
    }
    return used;
}

} // namespace

std::string decideUse(MeasuredTarget& target) {
    target.isUsed = false;
    if (!isSensitivityValid(target.target.sensitivity)) {
        target.remark = QStringLiteral("the mean corrected value is not positive");
        return {};
    }
    for (std::size_t b = 0; b < target.mean.size(); ++b) {
        const double unevenness = target.standardDeviation[b] / target.mean[b];
        if (!(unevenness <= kLargestTargetUnevenness)) {
            target.remark = text::compose("uneven: standard deviation ",
                                          percent(unevenness),
                                          " of the mean > 5 % in band ",
                                          b);
            return {};
        }
    }
    target.isUsed = true;
    for (std::size_t b = 0; b < target.mean.size(); ++b) {
        const double spread = target.standardDeviation[b] / target.target.sensitivity[b];
        if (spread > kLargestTargetSpread) {
            target.remark =
                text::compose("spread of ", spread, " in reflectance > 0.03 in band ", b);
            return text::compose(
                       "target ", target.target.id, " in ", target.imagePath, ": ", target.remark)
                .toStdString();
        }
    }
    return {};
}

CameraCalibration choose(std::uint64_t cameraId,
                         const QString& cameraName,
                         const std::vector<MeasuredTarget>& targets,
                         std::vector<std::string>& warnings) {
    CameraCalibration result;
    const std::vector<const MeasuredTarget*> used = usedTargetsOf(cameraId, targets);
    if (used.empty()) {
        return result;
    }
    const std::size_t bandCount = used.front()->target.sensitivity.size();
    std::size_t oddBand = 0;
    for (std::size_t b = 0; b < bandCount; ++b) {
        double sum = 0.0;
        double smallest = used.front()->target.sensitivity[b];
        double largest = smallest;
        for (const MeasuredTarget* target : used) {
            const double sensitivity = target->target.sensitivity[b];
            sum += sensitivity;
            smallest = std::min(smallest, sensitivity);
            largest = std::max(largest, sensitivity);
        }
        result.sensitivity.push_back(sum / static_cast<double>(used.size()));
        const double disagreement = (largest - smallest) / result.sensitivity.back();
        if (disagreement > result.disagreement) {
            result.disagreement = disagreement;
            oddBand = b;
        }
    }
    result.source = describe(used);
    if (used.size() > 1) {
        result.source = text::compose("mean of ", used.size(), " targets: ", result.source);
    }
    if (result.disagreement > kLargestTargetDisagreement) {
        warnings.push_back(text::compose("the targets of camera '",
                                         cameraName,
                                         "' differ by ",
                                         percent(result.disagreement),
                                         " in band ",
                                         oddBand,
                                         " (",
                                         describe(used),
                                         "): the light between them was not followed")
                               .toStdString());
    }
    return result;
}

} // namespace tessik::radiometry::detail
