#include "app/Subcommands.h"
#include "flight/json/CorrectionWords.h"
#include "flight/plan/PlanFile.h"

#include <filesystem>
#include <memory>

namespace tessik::app {
namespace {

struct Options {
    flight::PlanOptions plan;
    std::filesystem::path file = "plan.json";
};

void print(const flight::Plan& plan, const std::filesystem::path& file) {
    const flight::Decisions& decisions = plan.decisions;
    for (const flight::PlannedCamera& camera : plan.cameras) {
        const auto source = decisions.sensitivities.find(camera.id);
        show("%-40s %6zu images  %-18s  %s\n",
             camera.name,
             camera.imageCount,
             flight::wordOf(decisions.project.settings.at(camera.id).correctionType),
             source == decisions.sensitivities.end() ? "" : source->second.text);
    }
    const flight::Sunlight& sunlight = decisions.project.sunlight;
    for (const auto& [band, fraction] : sunlight.fractions) {
        show(
            "direct sunlight at %.1f nm: %.4f (%s)\n", band.wavelengthNm, fraction, sunlight.model);
    }
    show("%zu images planned in %s\n", plan.images.size(), file.string());
}

int plan(const Options& options, Terminal& terminal) {
    const flight::Plan plan = flight::makePlan(options.plan, terminal);
    terminal.failures(plan.failures);
    if (plan.images.empty()) {
        return NothingDone;
    }
    flight::writePlan(plan, options.file);
    if (!terminal.isQuiet()) {
        print(plan, options.file);
    }
    return plan.failures.empty() ? AllDone : SomeFailed;
}

} // namespace

Action addPlan(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command =
        *cli.add_subcommand("plan", "Decide how to correct a flight, and write it down");
    addPlanning(command, options->plan)->required();
    command.add_option("-o,--output", options->file, "File to write")->capture_default_str();
    return [options](Terminal& terminal) { return plan(*options, terminal); };
}

} // namespace tessik::app
