#include "platform/target/TargetDetector.h"

namespace tessik::target {

const std::vector<std::unique_ptr<ITargetDetector>>& targetDetectors() {
    static const std::vector<std::unique_ptr<ITargetDetector>> detectors;
    return detectors;
}

} // namespace tessik::target
