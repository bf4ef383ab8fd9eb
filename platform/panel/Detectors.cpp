#include "platform/panel/Detectors.h"

namespace tessik::target {

const std::vector<std::unique_ptr<ITargetDetector>>& targetDetectors() {
    static const std::vector<std::unique_ptr<ITargetDetector>> detectors = [] {
        std::vector<std::unique_ptr<ITargetDetector>> list;
        list.push_back(makeCameraRecord());
        list.push_back(makeQrPanel());
        return list;
    }();
    return detectors;
}

} // namespace tessik::target
