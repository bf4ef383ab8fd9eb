#include "flight/plan/Decisions.h"

#include "flight/json/CorrectionWords.h"
#include "flight/json/Json.h"

namespace tessik::flight {

std::vector<double> Decisions::sensitivityOf(const InputImage& image) const {
    const auto found = sensitivities.find(image.cameraId);
    return found == sensitivities.end() ? std::vector<double>() : found->second.values;
}

std::string Decisions::fingerprint(std::uint64_t cameraId) const {
    const radiometry::CorrectionType type = project.settings.at(cameraId).correctionType;
    std::string text = wordOf(type) + project.modelFiles;
    const auto append = [&text](double number) { text += " " + exactText(number); };
    if (doSunAngleCorrection(type)) {
        for (const auto& [band, fraction] : project.sunlight.fractions) {
            append(fraction);
        }
        for (const float angle : project.sensorMount.value_or(Eigen::Vector3f::Zero())) {
            append(static_cast<double>(angle));
        }
    }
    if (const auto found = project.clipLimits.find(cameraId); found != project.clipLimits.end()) {
        text += " clips";
        append(found->second);
    }
    if (const auto found = sensitivities.find(cameraId); found != sensitivities.end()) {
        text += " sensitivity";
        for (const double value : found->second.values) {
            append(value);
        }
    }
    return text;
}

} // namespace tessik::flight
