#include "flight/overlap/Overlaps.h"

#include "app/Subcommands.h"
#include "flight/plan/PlanFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace tessik::app {
namespace {

struct Options {
    std::filesystem::path plan;
    int jobs = 1;
    bool json = false;
};

std::string percent(const std::optional<double>& share) {
    if (!share) {
        return "-";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f %%", 100.0 * *share);
    return text;
}

/// "corrected (raw)"
std::string both(const flight::Difference& difference) {
    return difference.raw ? percent(difference.corrected) + " (" + percent(difference.raw) + ")"
                          : "-";
}

void print(const flight::OverlapResult& result) {
    show("neighbouring images differ by %s (raw: %s)\n",
         percent(result.all.corrected),
         percent(result.all.raw));
    show("%zu pairs of bands in %zu images; corrected (raw):\n", result.pairs, result.readImages);
    show("%-14s %8s %6s  %-18s %-18s %-18s %-18s %-18s\n",
         "band",
         "nm",
         "pairs",
         "all",
         "along lines",
         "across lines",
         "same heading",
         "opposite heading");
    for (const flight::BandOverlaps& band : result.bands) {
        char wavelength[32] = "-";
        if (band.wavelengthNm) {
            std::snprintf(wavelength, sizeof(wavelength), "%.0f", *band.wavelengthNm);
        }
        show("%-14s %8s %6zu  %-18s %-18s %-18s %-18s %-18s\n",
             band.name.empty() ? std::string("-") : band.name,
             std::string(wavelength),
             band.pairs,
             both(band.all),
             both(band.along),
             both(band.across),
             both(band.sameHeading),
             both(band.oppositeHeading));
    }
}

int overlaps(const Options& options, Terminal& terminal) {
    flight::Plan plan = flight::readPlan(options.plan);
    flight::loadModels(options.plan, plan, terminal);
    const flight::OverlapResult result = flight::measureOverlaps(plan, options.jobs, terminal);
    if (const std::string reason = flight::whyNothing(result); !reason.empty()) {
        terminal.failure({{}, reason});
        return NothingDone;
    }
    if (options.json) {
        showJson(flight::toJson(result));
    } else {
        print(result);
    }
    return AllDone;
}

} // namespace

Action addOverlaps(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand(
        "overlaps", "Tell how much neighbouring images differ where they show the same ground");
    command.add_option("PLAN", options->plan, "Plan of the flight, as plan or correct wrote it")
        ->required()
        ->check(CLI::ExistingFile);
    options->jobs = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    command.add_option("-j,--jobs", options->jobs, "Images to work on at a time")
        ->check(CLI::Range(1, 1024))
        ->default_str("processors");
    addJson(command, options->json);
    return [options](Terminal& terminal) { return overlaps(*options, terminal); };
}

} // namespace tessik::app
