#include "Plan.h"

#include "Input.h"
#include "JsonReader.h"

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
    return app::readJson(path).at("options").at("sequoia_calibration").is_string();
}

void requireSound(const app::Plan& plan) {
    for (const app::PlannedImage& image : plan.images) {
        fuzz::require(staysBelow(image.output), "outputs stay in their folder");
        fuzz::require(plan.project.settings.count(image.cameraId) == 1, "a camera has settings");
    }
    for (const auto& [camera, sensitivity] : plan.project.sensitivities) {
        for (const double value : sensitivity) {
            fuzz::require(value > 0.0, "a sensitivity is above 0");
        }
    }
    for (const auto& [band, fraction] : plan.project.sunlight.fractions) {
        fuzz::require(fraction >= 0.0 && fraction <= 1.0, "a fraction is one");
    }
}

} // namespace

// The bytes are a plan.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::File file(".json");
    app::Plan plan;
    try {
        plan = app::readPlan(file.write(data, size));
    } catch (const std::runtime_error& refusal) {
        const bool isNamed = std::string_view(refusal.what()).rfind(file.path(), 0) == 0;
        fuzz::require(isNamed || namesModels(file.path()), "a refusal names the file");
        return 0;
    }
    requireSound(plan);
    app::writePlan(plan, file.path());
    const std::string written = file.read();
    const app::Plan again = app::readPlan(file.path());
    for (const app::PlannedCamera& camera : plan.cameras) {
        fuzz::require(again.project.fingerprint(camera.id) == plan.project.fingerprint(camera.id),
                      "what is written decides the same pixels");
    }
    app::writePlan(again, file.path());
    fuzz::require(file.read() == written, "what is written reads the same");
    return 0;
}
