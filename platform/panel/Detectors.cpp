#include "platform/panel/Detectors.h"

#include "platform/panel/Outline.h"

#include <algorithm>

namespace tessik::target {
namespace {

/// The region is used as it stands: the camera, or the person who marked it there, chose it inside
/// the surface.
class CameraRecord final : public ITargetDetector {
public:
    [[nodiscard]] Detection find(const InputImage& image, const BandImage& raw) const override;
};

bool isReflectance(double value) {
    return value > 0.0 && value <= 1.0;
}

Detection CameraRecord::find(const InputImage& image, const BandImage& raw) const {
    const RecordedTarget& record = image.exif.recordedTarget;
    Detection detection;
    if (!record.isTarget || raw.empty()) {
        return detection;
    }
    const auto refuse = [&detection](const char* reason) {
        detection.remarks.emplace_back(std::string("the camera records a target ") + reason);
    };
    if (record.corners.empty()) {
        refuse("without saying where it is");
        return detection;
    }
    if (!isInside(record.corners, raw.front())) {
        refuse("that is not inside the image");
        return detection;
    }
    DetectedTarget target;
    target.detector = QStringLiteral("camera record");
    target.region = outline(record.corners);
    if (target.region.empty()) {
        refuse("whose corners enclose no surface");
        return detection;
    }
    target.reflectance = record.reflectance;
    if (!std::all_of(target.reflectance.begin(), target.reflectance.end(), isReflectance)) {
        target.reflectance.clear();
        refuse("whose reflectance is not between 0 and 1; not used");
    }
    detection.targets.push_back(std::move(target));
    return detection;
}

} // namespace

const std::vector<std::unique_ptr<ITargetDetector>>& targetDetectors() {
    static const std::vector<std::unique_ptr<ITargetDetector>> detectors = [] {
        std::vector<std::unique_ptr<ITargetDetector>> list;
        list.push_back(std::make_unique<CameraRecord>());
        list.push_back(makeQrPanel());
        return list;
    }();
    return detectors;
}

} // namespace tessik::target
