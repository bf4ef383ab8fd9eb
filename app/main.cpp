#include "app/Subcommands.h"

#include <QtCore/QCoreApplication>
#include <malloc.h>

#include <csignal>
#include <exception>
#include <map>
#include <string>

namespace {

namespace app = tessik::app;

int run(int argc, char** argv) {
    CLI::App cli("Radiometric correction of aerial images", "radiometry");
    cli.set_version_flag("--version", RADIOMETRY_VERSION);
    cli.require_subcommand(1);
    cli.fallthrough();
    bool isVerbose = false;
    bool isQuiet = false;
    cli.add_flag("-v,--verbose", isVerbose, "Show the informational log as well");
    cli.add_flag("-q,--quiet", isQuiet, "Show errors only");
    const std::map<std::string, app::Action> actions = {
        {"inspect", app::addInspect(cli)},
        {"light", app::addLight(cli)},
        {"plan", app::addPlan(cli)},
        {"correct", app::addCorrect(cli)},
        {"overlaps", app::addOverlaps(cli)},
        {"sun", app::addSun(cli)},
        {"sunlight", app::addSunlight(cli)},
        {"calibrate", app::addCalibrate(cli)},
        {"targets", app::addTargets(cli)},
        {"validate", app::addValidate(cli)},
        {"sequoia-model", app::addSequoiaModel(cli)}};
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        const int status = cli.exit(failure);
        return status == 0 ? app::AllDone : app::NothingDone;
    }
    app::Terminal terminal(isQuiet     ? app::Verbosity::Quiet
                           : isVerbose ? app::Verbosity::Verbose
                                       : app::Verbosity::Normal);
    try {
        return actions.at(cli.get_subcommands().front()->get_name())(terminal);
    } catch (const std::exception& failure) {
        terminal.failure({{}, failure.what()});
        return app::NothingDone;
    }
}

} // namespace

int main(int argc, char** argv) {
    // Whole bands and maps get memory of their own, which goes back at once when one is no longer
    // needed; what is smaller comes and goes with each image, and its memory is kept.
    constexpr int kWholeBand = 4 << 20; // bytes
    constexpr int kKept = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, kWholeBand); // NOLINT(concurrency-mt-unsafe): no thread runs yet
    mallopt(M_TRIM_THRESHOLD, kKept);      // NOLINT(concurrency-mt-unsafe)
    // Images are read and written once, block by block: GDAL's cache, a twentieth of the memory
    // otherwise, would only fill. A size that the user states holds.
    setenv("GDAL_CACHEMAX", "32", 0); // NOLINT(concurrency-mt-unsafe): MB; no thread runs yet
    // A file that may not grow is a failed write with a reason, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN); // NOLINT(concurrency-mt-unsafe)
    // The store of reflectances lives in the settings of this organisation and application.
    QCoreApplication::setOrganizationName(QStringLiteral("tessik"));
    QCoreApplication::setApplicationName(QStringLiteral("radiometry"));
    return run(argc, argv);
}
