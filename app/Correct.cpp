#include "app/Subcommands.h"
#include "flight/overlap/Overlaps.h"
#include "flight/plan/PlanFile.h"
#include "flight/report/Report.h"
#include "flight/run/Run.h"
#include "flight/run/TargetPictures.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

struct Options {
    /// How to plan, and how many jobs.
    flight::PlanOptions plan;
    /// A plan to follow; empty = one is made.
    fs::path planFile;
    flight::RunOptions run;
    /// Page to write at the end; empty = no page.
    fs::path report;
};

/// The output folder gets a copy, by which it is known later what was done.
flight::Plan planFor(const Options& options, Terminal& terminal) {
    const fs::path& folder = options.run.outputFolder;
    const fs::path copy = folder / flight::kPlanFile;
    if (options.planFile.empty()) {
        flight::Plan plan = flight::makePlan(options.plan, terminal);
        if (plan.targetsAsked == "auto") {
            flight::drawTargets(folder / "targets", folder, plan.targets, terminal);
        }
        if (!plan.images.empty()) {
            flight::writePlan(plan, copy);
        }
        return plan;
    }
    flight::Plan plan = flight::readPlan(options.planFile);
    flight::loadModels(options.planFile, plan, terminal);
    std::error_code ignored;
    if (options.run.part.index == 1 && !fs::equivalent(options.planFile, copy, ignored)) {
        flight::writePlan(plan, copy);
    }
    return plan;
}

void print(const flight::RunSummary& summary, std::chrono::duration<double> elapsed) {
    show("%lld images done, %lld kept, %lld failed; %lld pixels masked; %.1f images/s\n",
         static_cast<long long>(summary.done),
         static_cast<long long>(summary.kept),
         static_cast<long long>(summary.failed),
         static_cast<long long>(summary.maskedPixels),
         static_cast<double>(summary.done) / std::max(elapsed.count(), 1e-9));
}

int exitStatus(const flight::RunSummary& summary, Terminal& terminal) {
    if (summary.isInterrupted) {
        terminal.failure({{}, "interrupted; run the same command to resume"});
        return Interrupted;
    }
    if (summary.failed == 0) {
        return AllDone;
    }
    return summary.done + summary.kept == 0 ? NothingDone : SomeFailed;
}

/// Corrects, and tells in the output folder how well neighbouring images agree. One part of several
/// has too few neighbours.
flight::RunSummary
runAndCompare(const flight::Plan& plan, const Options& options, Terminal& terminal) {
    if (options.run.part.count > 1) {
        return flight::run(plan, options.run, terminal);
    }
    flight::Overlaps overlaps(plan, flight::Overlaps::pairsBesides(plan), options.run.jobs);
    flight::RunOptions run = options.run;
    run.watcher = &overlaps;
    flight::RunSummary summary = flight::run(plan, run, terminal);
    if (summary.isInterrupted) {
        return summary;
    }
    try {
        flight::writeOverlaps(
            overlaps.result(options.run.jobs), options.run.outputFolder, summary.kept > 0);
    } catch (const std::runtime_error& failure) {
        terminal.failure({{}, failure.what()});
        ++summary.failed;
    }
    return summary;
}

int correct(const Options& options, Terminal& terminal) {
    if (options.planFile.empty() && options.plan.flight.inputs.empty()) {
        throw std::runtime_error("correct: no INPUT and no --plan");
    }
    flight::prepareOutputFolder(options.run.outputFolder);
    const auto start = std::chrono::steady_clock::now();
    const flight::Plan plan = planFor(options, terminal);
    malloc_trim(0); // a large plan leaves much behind when it is read
    if (plan.images.empty()) {
        if (options.run.part.index == 1) {
            terminal.failures(plan.failures);
        }
        return NothingDone;
    }
    flight::RunSummary summary = runAndCompare(plan, options, terminal);
    if (!terminal.isQuiet()) {
        print(summary, std::chrono::steady_clock::now() - start);
    }
    if (!options.report.empty()) {
        try {
            flight::report::writeReport(options.run.outputFolder, options.report);
        } catch (const std::runtime_error& failure) {
            terminal.failure({{}, failure.what()});
            ++summary.failed;
        }
    }
    return exitStatus(summary, terminal);
}

} // namespace

Action addCorrect(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("correct", "Correct images into a folder");
    addPlanning(command, options->plan);
    command
        .add_option("-o,--output",
                    options->run.outputFolder,
                    "Folder to write to; it is made if it is not there")
        ->required();
    CLI::Option* plan =
        command.add_option("--plan", options->planFile, "Follow a plan that was made before")
            ->check(CLI::ExistingFile);
    for (const char* decided : {"INPUT",
                                "--type",
                                "--sunlight",
                                "--sensor-mount",
                                "--sequoia-calibration",
                                "--targets",
                                "--utc-offset",
                                "--calibration-from"}) {
        plan->excludes(command.get_option(decided));
    }
    command
        .add_option_function<std::string>(
            "--part",
            [options](const std::string& text) {
                const auto part = flight::Part::fromText(text);
                if (!part) {
                    throw CLI::ValidationError("--part", "not K/N with K from 1 to N: " + text);
                }
                options->run.part = *part;
            },
            "K/N: correct the K-th of N disjoint parts of a plan")
        ->needs(plan);
    command.add_flag("--overwrite", options->run.overwrite, "Overwrite existing outputs");
    command
        .add_option("--co",
                    options->run.creationOptions,
                    "GeoTIFF creation option NAME=VALUE (COMPRESS, PREDICTOR, TILED, BIGTIFF)")
        ->allow_extra_args(false)
        ->check([](const std::string& option) {
            return CLI::detail::to_lower(option) == "bigtiff=yes"
                       ? std::string("BIGTIFF=YES: metadata go into classic TIFF files only")
                       : std::string();
        });
    command.add_option(
        "--report", options->report, "Page (.html) to write: light, pictures, targets, problems");
    return [options](Terminal& terminal) {
        options->plan.flight.excluded = options->run.outputFolder;
        options->run.jobs = options->plan.flight.jobs;
        return correct(*options, terminal);
    };
}

} // namespace tessik::app
