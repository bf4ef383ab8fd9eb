#include "Correct.h"

#include "Console.h"
#include "Flight.h"
#include "ImageCorrector.h"
#include "Output.h"
#include "platform/image/Raster.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <set>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

struct Summary {
    std::atomic<std::int64_t> done{0};
    std::atomic<std::int64_t> kept{0};
    std::atomic<std::int64_t> failed{0};
    std::atomic<std::int64_t> maskedPixels{0};
};

/// One image, and where its result goes.
struct Task {
    std::size_t image;
    fs::path output;
};

std::int64_t countNoData(const BandImage& bands) {
    std::int64_t count = 0;
    for (const BandMatrix& band : bands) {
        count += (band.array() == radiometry::kNoData).count();
    }
    return count;
}

/// What the images of a run share.
struct Run {
    const CorrectOptions& options;
    Flight& flight;
    const Project& project;
    ImageCorrector corrector;
    Summary& summary;
};

void correctOne(const Task& task, Run& run) {
    InputImage& image = run.flight.images[task.image];
    const std::string path = image.path.toStdString();
    const std::vector<std::string>& creationOptions = run.options.creationOptions;
    const ImageContext context(path);
    try {
        run.corrector.check(image);
        const std::string mark = fingerprint(run.flight.inputs[task.image].path,
                                             run.project.typeOf(image),
                                             run.project.fingerprint,
                                             creationOptions);
        if (!run.options.overwrite && fingerprintOf(task.output) == mark) {
            ++run.summary.kept;
            return;
        }
        const image::Raster raster = openPixels(image);
        BandImage bands = raster.read();
        run.corrector.correct(image, bands);
        const std::int64_t masked = countNoData(bands);
        fs::create_directories(task.output.parent_path());
        writeOutput(task.output, image, bands, run.project.typeOf(image), mark, creationOptions);
        run.summary.maskedPixels += masked;
        ++run.summary.done;
    } catch (const std::exception& failure) {
        sayFailure(path, failure.what());
        ++run.summary.failed;
    }
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

/// Two images of one output, or an output in place of its input, are failures of the image.
std::vector<Task> makeTasks(const Flight& flight, const CorrectOptions& options, Summary& summary) {
    std::set<fs::path> outputs;
    std::vector<Task> tasks;
    for (std::size_t i = 0; i < flight.images.size(); ++i) {
        const Input& input = flight.inputs[i];
        fs::path output = (options.outputFolder / input.relative).replace_extension(".tif");
        std::string failure = flight.failures[i];
        std::error_code ignored;
        if (failure.empty() && fs::equivalent(output, input.path, ignored)) {
            failure = "the output would replace the input";
        }
        if (failure.empty() && !outputs.insert(output).second) {
            failure = "another image has the same output " + output.string();
        }
        if (!failure.empty()) {
            sayFailure(input.path.string(), failure);
            ++summary.failed;
            continue;
        }
        tasks.push_back({i, std::move(output)});
    }
    return tasks;
}

void sayFailures(const InputList& inputs, Summary& summary) {
    for (const auto& [path, reason] : inputs.failures) {
        sayFailure(path, reason);
        ++summary.failed;
    }
}

} // namespace

int correct(const CorrectOptions& options) {
    Summary summary;
    const InputList inputs = expandInputs(options.inputs, options.outputFolder);
    sayFailures(inputs, summary);
    if (inputs.images.empty() || !prepareOutputFolder(options.outputFolder)) {
        return NothingDone;
    }
    const auto start = std::chrono::steady_clock::now();
    Flight flight = readFlight(inputs.images, options.metadata, options.jobs);
    const Project project = makeProject(flight, options.project);
    const std::vector<Task> tasks = makeTasks(flight, options, summary);
    Run run{options, flight, project, ImageCorrector(project), summary};
    tbb::task_arena arena(options.jobs);
    arena.execute([&] {
        tbb::parallel_for(
            std::size_t{0}, tasks.size(), [&](std::size_t i) { correctOne(tasks[i], run); });
    });
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::printf("%lld images done, %lld kept, %lld failed; %lld pixels masked; %.1f images/s\n",
                static_cast<long long>(summary.done),
                static_cast<long long>(summary.kept),
                static_cast<long long>(summary.failed),
                static_cast<long long>(summary.maskedPixels),
                static_cast<double>(summary.done) / std::max(elapsed.count(), 1e-9));
    if (summary.failed == 0) {
        return AllDone;
    }
    return summary.done + summary.kept == 0 ? NothingDone : SomeFailed;
}

} // namespace tessik::app
