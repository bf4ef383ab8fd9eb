#include "flight/run/Run.h"

#include "flight/Parallel.h"
#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"
#include "flight/json/Json.h"
#include "flight/run/ImageCorrector.h"
#include "flight/run/Output.h"
#include "flight/run/PlannedReader.h"
#include "flight/run/Records.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;

/// One run of a part of a plan. correctOne() is thread safe.
class Runner {
public:
    Runner(const Plan& plan, const RunOptions& options, Observer& observer)
        : m_plan(plan), m_options(options), m_observer(observer),
          m_corrector(plan.decisions, static_cast<std::size_t>(options.jobs) + 1),
          m_records(options.outputFolder / recordFileName(options.part.index, options.part.count),
                    options.overwrite) {}

    void correctOne(const PlannedImage& task) {
        try {
            tryOne(task);
        } catch (const std::exception& failure) {
            fail({task.path, failure.what()});
            try {
                m_records.addFailed(task.path, task.output, failure.what());
            } catch (const std::exception&) {
                return; // the observer knows already that the disk is full
            }
        }
    }

    /// Tells and counts.
    void fail(const Failure& failure) {
        m_observer.failure(failure);
        ++m_failed;
    }

    [[nodiscard]] RunSummary summary() const {
        return {m_done, m_kept, m_failed, m_maskedPixels, false};
    }

private:
    void tryOne(const PlannedImage& task) {
        const fs::path output = m_options.outputFolder / task.output;
        std::error_code ignored;
        if (fs::equivalent(output, task.path, ignored)) {
            throw Refusal("the output would replace the input");
        }
        const std::string mark =
            fingerprint(task.path, settingsOf(task), m_options.creationOptions);
        if (!m_options.overwrite && fingerprintOf(output) == mark) {
            m_records.addKept(task.path, task.output);
            ++m_kept;
            return;
        }
        const Listening listening(m_observer, task.path);
        auto [image, raw, reading] = readPlanned(m_plan, task, m_observer);
        BandImage& bands = m_pixels.local();
        const Applied applied = readAndCorrect(task, m_corrector, m_options.watcher, image, bands);
        const std::string type =
            image.exif.isThermal ? "thermal" : wordOf(m_plan.decisions.project.typeOf(image));
        const std::vector<BandUncertainty>& uncertainty = uncertaintyOf(image.cameraId);
        m_records.addDone({task.output,
                           type,
                           image,
                           applied,
                           m_plan.decisions.sensitivityOf(image),
                           reading,
                           uncertainty});
        fs::create_directories(output.parent_path());
        writeOutput(output, image, *raw, bands, type, uncertainty, mark, m_options.creationOptions);
        m_maskedPixels += applied.maskedPixels();
        ++m_done;
    }

    /// Text that changes when what is done to an image, or said of it, does.
    [[nodiscard]] std::string settingsOf(const PlannedImage& task) const {
        std::string text = m_plan.decisions.fingerprint(task.cameraId);
        for (const double reading : task.sunIrradiance) {
            text += " " + exactText(reading);
        }
        for (const BandUncertainty& band : uncertaintyOf(task.cameraId)) {
            text += " " + exactText(band.of(UncertaintyTerm::Kind::Systematic)) + " " +
                    exactText(band.of(UncertaintyTerm::Kind::Random));
        }
        return text;
    }

    [[nodiscard]] const std::vector<BandUncertainty>& uncertaintyOf(std::uint64_t camera) const {
        static const std::vector<BandUncertainty> notKnown;
        const auto known = m_plan.uncertainties.find(camera);
        return known == m_plan.uncertainties.end() ? notKnown : known->second;
    }

    const Plan& m_plan;
    const RunOptions& m_options;
    Observer& m_observer;
    ImageCorrector m_corrector;
    RecordFile m_records;
    tbb::enumerable_thread_specific<BandImage> m_pixels; ///< memory of a job, image after image
    std::atomic<std::int64_t> m_done{0};
    std::atomic<std::int64_t> m_kept{0};
    std::atomic<std::int64_t> m_failed{0};
    std::atomic<std::int64_t> m_maskedPixels{0};
};

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

void prepareOutputFolder(const fs::path& folder) {
    std::error_code failure;
    fs::create_directories(folder, failure);
    const fs::path probe = folder / ".radiometry.probe";
    std::FILE* file = failure ? nullptr : std::fopen(probe.c_str(), "w");
    if (file == nullptr) {
        throw std::runtime_error(
            folder.string() + ": " +
            (failure ? failure.message() : "the output folder is not writable"));
    }
    std::fclose(file);
    fs::remove(probe, failure);
}

RunSummary run(const Plan& plan, const RunOptions& options, Observer& observer) {
    Runner runner(plan, options, observer);
    if (options.part.index == 1) {
        for (const Failure& failure : plan.failures) {
            runner.fail(failure);
        }
    }
    const std::vector<const PlannedImage*> images = orderOfWork(plan, options.part);
    observer.begin(images.size());
    std::atomic<std::size_t> next{0}; // in order, whichever thread is free
    inParallel(images.size(), options.jobs, [&](std::size_t) {
        if (!observer.shallStop()) {
            runner.correctOne(*images[next++]);
            observer.advance();
        }
    });
    observer.end();
    RunSummary summary = runner.summary();
    summary.isInterrupted = observer.shallStop();
    return summary;
}

} // namespace tessik::flight
