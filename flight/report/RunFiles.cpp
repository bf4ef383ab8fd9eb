#include "flight/report/RunFiles.h"

#include "flight/json/Json.h"
#include "flight/overlap/OverlapResult.h"
#include "flight/plan/PlanFile.h"

#include <cmath>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using IndexByPath = std::unordered_map<std::string, std::size_t>;

/// The plan's images, in its order.
IndexByPath takeImages(const Plan& plan, RunFiles& run) {
    std::unordered_map<std::uint64_t, std::size_t> cameraById;
    for (const PlannedCamera& camera : plan.cameras) {
        cameraById.emplace(camera.id, cameraById.size());
    }
    IndexByPath byPath;
    for (const PlannedImage& planned : plan.images) {
        if (byPath.emplace(planned.path, run.images.size()).second) {
            ImageRecord& record = run.images.emplace_back();
            record.path = planned.path;
            record.output = planned.output;
            record.camera = cameraById.at(planned.cameraId);
        }
    }
    return byPath;
}

/// A page is worth having without them.
void takeOverlaps(const fs::path& file, RunFiles& run) {
    if (!fs::exists(file)) {
        return;
    }
    try {
        run.overlaps = json(readJson(file.string()));
        if (!run.overlaps.is_object() || !run.overlaps.contains("bands")) {
            throw std::runtime_error(file.string() + ": not a file of overlaps");
        }
    } catch (const std::runtime_error& failure) {
        run.overlaps = nullptr;
        run.overlapsFailure = failure.what();
    }
}

/// What failed already when the plan was made is said once: of the image, where it is planned.
void takeFailures(const IndexByPath& byPath, RunFiles& run) {
    json others = json::array();
    for (json& failure : run.plan["failures"]) {
        const auto found = byPath.find(textIn(failure, "path"));
        if (found == byPath.end()) {
            others.push_back(std::move(failure));
            continue;
        }
        ImageRecord& image = run.images[found->second];
        if (image.status == Status::NotReached) {
            image.status = Status::Failed;
            image.failure = textIn(failure, "reason");
        }
    }
    run.plan["failures"] = std::move(others);
}

} // namespace

RunFiles readRunFiles(const fs::path& folder) {
    RunFiles run;
    run.folder = folder;
    const IndexByPath byPath = [&] {
        const Plan plan = readPlan(folder / kPlanFile);
        run.plan = json(headJson(plan));
        return takeImages(plan, run);
    }();
    takeOverlaps(folder / kOverlapFile, run);
    for (const fs::path& file : recordFiles(folder)) {
        run.damagedLines += readRecords(file, [&](ReadRecord record) {
            const auto found = byPath.find(record.path);
            if (found == byPath.end()) {
                ++run.strayRecords;
            } else {
                static_cast<ReadRecord&>(run.images[found->second]) = std::move(record);
            }
        });
    }
    takeFailures(byPath, run);
    return run;
}

double numberIn(const json& object, const char* key) {
    if (!object.is_object()) {
        return kAbsent;
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<double>() : kAbsent;
}

json orNull(double value) {
    return std::isfinite(value) ? json(value) : json();
}

std::string textIn(const json& object, const char* key) {
    if (!object.is_object()) {
        return {};
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace tessik::flight::report
