#include "Correct.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "ImageCorrector.h"
#include "Output.h"
#include "Progress.h"
#include "Records.h"
#include "Report.h"
#include "platform/image/Raster.h"

#include <malloc.h>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPlanFile = "plan.json";

struct Summary {
    std::atomic<std::int64_t> done{0};
    std::atomic<std::int64_t> kept{0};
    std::atomic<std::int64_t> failed{0};
    std::atomic<std::int64_t> maskedPixels{0};
};

/// What the images of a run share.
struct Run {
    const CorrectOptions& options;
    const Plan& plan;
    ImageCorrector corrector;
    RecordFile records;
    Summary summary;
    tbb::enumerable_thread_specific<BandImage> pixels; ///< memory of a job, image after image
};

InputImage readInput(const PlannedImage& task, const Plan& plan, exif::ImageMetadata& metadata) {
    InputImage image = exif::inputImage(task.path, std::move(metadata));
    if (image.cameraId != task.cameraId) {
        throw Refusal("not the image that was planned: its camera is " +
                      exif::cameraName(image.exif).toStdString());
    }
    mountSensor(plan.project.sensorMount, image);
    useClipLimit(plan.project.clipLimits, image);
    if (!task.sunIrradiance.empty()) {
        image.exif.sunIrradiance = task.sunIrradiance;
    }
    return image;
}

/// Text that changes when what is done to an image does.
std::string settingsOf(const PlannedImage& task, const Project& project) {
    std::string text = project.fingerprint(task.cameraId);
    for (const double reading : task.sunIrradiance) {
        text += " " + QString::number(reading, 'g', 17).toStdString();
    }
    return text;
}

void correctOne(const PlannedImage& task, Run& run) {
    const Plan& plan = run.plan;
    const fs::path output = run.options.outputFolder / task.output;
    std::error_code ignored;
    if (fs::equivalent(output, task.path, ignored)) {
        throw Refusal("the output would replace the input");
    }
    const std::string mark =
        fingerprint(task.path, settingsOf(task, plan.project), run.options.creationOptions);
    if (!run.options.overwrite && fingerprintOf(output) == mark) {
        run.records.addKept(task.path, task.output);
        ++run.summary.kept;
        return;
    }
    const ImageContext context(task.path);
    exif::ImageMetadata metadata = exif::readMetadata(task.path, plan.readOptions());
    const std::shared_ptr<const exif::RawMetadata> raw = metadata.raw;
    for (const std::string& warning : metadata.warnings) {
        sayWarning(task.path, warning);
    }
    InputImage image = readInput(task, plan, metadata);
    run.corrector.check(image);
    BandImage& bands = run.pixels.local();
    openPixels(image).readInto(bands);
    const Applied applied = run.corrector.correct(image, bands);
    const std::vector<double> sensitivity = plan.project.sensitivityOf(image);
    const std::string type = image.exif.isThermal ? "thermal" : wordOf(plan.project.typeOf(image));
    run.records.addDone({task.output, type, image, applied, sensitivity});
    fs::create_directories(output.parent_path());
    writeOutput(output, image, *raw, bands, type, mark, run.options.creationOptions);
    run.summary.maskedPixels += applied.maskedPixels();
    ++run.summary.done;
}

void sayAndRecordFailure(const PlannedImage& task, const std::string& reason, Run& run) {
    sayFailure(task.path, reason);
    ++run.summary.failed;
    try {
        run.records.addFailed(task.path, task.output, reason);
    } catch (const std::exception&) {
        // A disk that is full has been told of.
        return;
    }
}

/// Camera by camera, so that the maps of few cameras are in memory at a time.
std::vector<const PlannedImage*> orderOfWork(const Plan& plan, const Part& part) {
    const auto count = static_cast<std::size_t>(part.count);
    const auto index = static_cast<std::size_t>(part.index);
    std::vector<const PlannedImage*> order;
    for (std::size_t i = plan.images.size() * (index - 1) / count;
         i < plan.images.size() * index / count;
         ++i) {
        order.push_back(&plan.images[i]);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto* a, const auto* b) {
        return a->cameraId < b->cameraId;
    });
    return order;
}

void correctAll(const std::vector<const PlannedImage*>& images, Run& run) {
    const Interruptible interruptible;
    Progress progress(images.size());
    std::atomic<std::size_t> next{0}; // in order, whichever thread is free
    tbb::task_arena arena(run.options.plan.jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, images.size(), [&](std::size_t) {
            if (Interruptible::isAsked()) {
                return;
            }
            const PlannedImage& task = *images[next++];
            try {
                correctOne(task, run);
            } catch (const std::exception& failure) {
                sayAndRecordFailure(task, failure.what(), run);
            }
            progress.advance();
        });
    });
}

/// The folder is made if need be, and must take files: better known now than after the first image.
bool prepareOutputFolder(const fs::path& folder) {
    std::error_code failure;
    fs::create_directories(folder, failure);
    const fs::path probe = folder / ".radiometry.probe";
    std::FILE* file = failure ? nullptr : std::fopen(probe.c_str(), "w");
    if (file == nullptr) {
        sayFailure(folder.string(),
                   failure ? failure.message() : "the output folder is not writable");
        return false;
    }
    std::fclose(file);
    fs::remove(probe, failure);
    return true;
}

Plan planFor(const CorrectOptions& options) {
    if (!options.planFile.empty()) {
        Plan plan = readPlan(options.planFile);
        const fs::path copy = options.outputFolder / kPlanFile; // what was done is told from there
        std::error_code ignored;
        if (options.part.index == 1 && !fs::equivalent(options.planFile, copy, ignored)) {
            writePlan(plan, copy);
        }
        return plan;
    }
    Plan plan = makePlan(options.plan);
    if (!plan.images.empty()) {
        writePlan(plan, options.outputFolder / kPlanFile);
    }
    return plan;
}

std::string recordFileName(const Part& part) {
    return part.count == 1 ? "corrections.jsonl"
                           : "corrections-" + std::to_string(part.index) + "-of-" +
                                 std::to_string(part.count) + ".jsonl";
}

/// What failed already when the plan was made: of all parts, the first one says so.
void sayPlanFailures(const Plan& plan, const Part& part, Summary& summary) {
    if (part.index > 1) {
        return;
    }
    for (const PlanFailure& failure : plan.failures) {
        sayFailure(failure.path, failure.reason);
        ++summary.failed;
    }
}

void printSummary(const Summary& summary, std::chrono::duration<double> elapsed) {
    std::printf("%lld images done, %lld kept, %lld failed; %lld pixels masked; %.1f images/s\n",
                static_cast<long long>(summary.done),
                static_cast<long long>(summary.kept),
                static_cast<long long>(summary.failed),
                static_cast<long long>(summary.maskedPixels),
                static_cast<double>(summary.done) / std::max(elapsed.count(), 1e-9));
}

int exitStatus(const Summary& summary) {
    if (Interruptible::isAsked()) {
        sayFailure({}, "interrupted; the same command goes on from here");
        return Interrupted;
    }
    if (summary.failed == 0) {
        return AllDone;
    }
    return summary.done + summary.kept == 0 ? NothingDone : SomeFailed;
}

} // namespace

std::optional<Part> Part::fromText(const std::string& text) {
    Part part;
    char slash = '\0';
    std::istringstream stream(text);
    stream >> part.index >> slash >> part.count;
    const bool isWhole = !stream.fail() && stream.eof();
    if (!isWhole || slash != '/' || part.count < 1 || part.index < 1 || part.index > part.count) {
        return std::nullopt;
    }
    return part;
}

int correct(const CorrectOptions& options) {
    if (!prepareOutputFolder(options.outputFolder)) {
        return NothingDone;
    }
    const auto start = std::chrono::steady_clock::now();
    const Plan plan = planFor(options);
    malloc_trim(0); // a large plan leaves much behind when it is read
    if (plan.images.empty()) {
        Summary none;
        sayPlanFailures(plan, options.part, none);
        return NothingDone;
    }
    Run run{options,
            plan,
            ImageCorrector(plan.project, static_cast<std::size_t>(options.plan.jobs) + 1),
            RecordFile(options.outputFolder / recordFileName(options.part), options.overwrite),
            {},
            {}};
    sayPlanFailures(plan, options.part, run.summary);
    correctAll(orderOfWork(plan, options.part), run);
    printSummary(run.summary, std::chrono::steady_clock::now() - start);
    if (!options.report.empty()) {
        try {
            writeReport(options.outputFolder, options.report);
        } catch (const radiometry::error& failure) {
            sayFailure({}, failure.what());
            ++run.summary.failed;
        }
    }
    return exitStatus(run.summary);
}

} // namespace tessik::app
