#include "Input.h"
#include "flight/json/Json.h"
#include "flight/plan/PlanFile.h"

namespace {

using namespace tessik;
namespace fs = std::filesystem;

/// Wherever the output folder is, and whatever links there are in it.
bool staysBelow(const std::string& output) {
    const fs::path folder = "/out";
    const fs::path below = (folder / output).lexically_normal().lexically_relative(folder);
    return below.has_filename() && *below.begin() != "." && *below.begin() != "..";
}

/// Only then is a plan refused for the sake of another file.
bool namesModels(const std::string& path) {
    return flight::readJson(path).at("options").at("sequoia_calibration").is_string();
}

void requireSound(const flight::Plan& plan) {
    for (const flight::PlannedImage& image : plan.images) {
        fuzz::require(staysBelow(image.output), "outputs stay in their folder");
        fuzz::require(plan.decisions.project.settings.count(image.cameraId) == 1,
                      "a camera has settings");
    }
    for (const auto& [camera, sensitivity] : plan.decisions.sensitivities) {
        for (const double value : sensitivity.values) {
            fuzz::require(value > 0.0, "a sensitivity is above 0");
        }
    }
    for (const auto& [band, fraction] : plan.decisions.project.sunlight.fractions) {
        fuzz::require(fraction >= 0.0 && fraction <= 1.0, "a fraction is one");
    }
}

} // namespace

// The bytes are a plan.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::File file(".json");
    flight::Plan plan;
    try {
        plan = flight::readPlan(file.write(data, size));
    } catch (const std::runtime_error& refusal) {
        const bool isNamed = std::string_view(refusal.what()).rfind(file.path(), 0) == 0;
        fuzz::require(isNamed || namesModels(file.path()), "a refusal names the file");
        return 0;
    }
    requireSound(plan);
    flight::writePlan(plan, file.path());
    const std::string written = file.read();
    const flight::Plan again = flight::readPlan(file.path());
    for (const flight::PlannedCamera& camera : plan.cameras) {
        fuzz::require(again.decisions.fingerprint(camera.id) ==
                          plan.decisions.fingerprint(camera.id),
                      "what is written decides the same pixels");
    }
    flight::writePlan(again, file.path());
    fuzz::require(file.read() == written, "what is written reads the same");
    return 0;
}
