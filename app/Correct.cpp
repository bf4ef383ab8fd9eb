#include "Correct.h"

#include "Camera.h"
#include "Console.h"
#include "CorrectionWords.h"
#include "Flight.h"
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
using radiometry::CorrectionType;

/// Corrections richer than this are not built yet; what they need is left out, not guessed.
constexpr auto kRichest = CorrectionType::CameraOnly;

struct Summary {
    std::atomic<std::int64_t> done{0};
    std::atomic<std::int64_t> kept{0};
    std::atomic<std::int64_t> failed{0};
    std::atomic<std::int64_t> maskedPixels{0};
};

/// One image, and where its result goes.
struct Task {
    Flight::Image* image;
    fs::path output;
    CorrectionType type;
};

std::int64_t countNoData(const BandImage& bands) {
    std::int64_t count = 0;
    for (const BandMatrix& band : bands) {
        count += (band.array() == radiometry::kNoData).count();
    }
    return count;
}

void correctOne(const Task& task, const CorrectOptions& options, MapCache& maps, Summary& summary) {
    InputImage& image = task.image->image;
    const std::string path = image.path.toStdString();
    const ImageContext context(path);
    try {
        checkCorrectable(image, task.type, options.type.has_value());
        const std::string mark =
            fingerprint(task.image->input.path, task.type, options.creationOptions);
        if (!options.overwrite && fingerprintOf(task.output) == mark) {
            ++summary.kept;
            return;
        }
        const image::Raster raster = openPixels(image);
        BandImage bands = raster.read();
        correctBands(image, task.type, maps, bands);
        const std::int64_t masked = countNoData(bands);
        fs::create_directories(task.output.parent_path());
        writeOutput(task.output, image, bands, task.type, mark, options.creationOptions);
        summary.maskedPixels += masked;
        ++summary.done;
    } catch (const std::exception& failure) {
        sayFailure(path, failure.what());
        ++summary.failed;
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
std::vector<Task> makeTasks(Flight& flight, const CorrectOptions& options, Summary& summary) {
    const auto types = correctionTypes(flight, options.type);
    std::set<fs::path> outputs;
    std::vector<Task> tasks;
    for (Flight::Image& image : flight.images) {
        const std::string path = image.input.path.string();
        fs::path output = (options.outputFolder / image.input.relative).replace_extension(".tif");
        std::error_code ignored;
        if (image.failure.empty() && fs::equivalent(output, image.input.path, ignored)) {
            image.failure = "the output would replace the input";
        }
        if (image.failure.empty() && !outputs.insert(output).second) {
            image.failure = "another image has the same output " + output.string();
        }
        if (!image.failure.empty()) {
            sayFailure(path, image.failure);
            ++summary.failed;
            continue;
        }
        CorrectionType type = types.at(image.image.cameraId);
        if (!options.type && type > kRichest) {
            sayWarning({},
                       "the metadata would allow '" + wordOf(type) + "'; corrected as '" +
                           wordOf(kRichest) + "'");
            type = kRichest;
        }
        tasks.push_back({&image, std::move(output), type});
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
    if (options.type && *options.type > kRichest) {
        sayFailure({}, "--type " + wordOf(*options.type) + " is not available");
        return NothingDone;
    }
    Summary summary;
    const InputList inputs = expandInputs(options.inputs, options.outputFolder);
    sayFailures(inputs, summary);
    if (inputs.images.empty() || !prepareOutputFolder(options.outputFolder)) {
        return NothingDone;
    }
    const auto start = std::chrono::steady_clock::now();
    Flight flight = readFlight(inputs.images, options.jobs);
    const std::vector<Task> tasks = makeTasks(flight, options, summary);
    MapCache maps;
    tbb::task_arena arena(options.jobs);
    arena.execute([&] {
        tbb::parallel_for(std::size_t{0}, tasks.size(), [&](std::size_t i) {
            correctOne(tasks[i], options, maps, summary);
        });
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
