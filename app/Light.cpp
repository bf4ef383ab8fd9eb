#include "app/Subcommands.h"
#include "flight/json/CorrectionWords.h"
#include "flight/plan/Plan.h"
#include "platform/math/Angle.h"

#include <QtCore/QDateTime>

#include <cmath>
#include <memory>
#include <optional>
#include <string>

namespace tessik::app {
namespace {

using flight::Json;

struct Options {
    flight::PlanOptions plan;
    bool json = false;
};

std::string timeOf(double unixTime) {
    return QDateTime::fromMSecsSinceEpoch(std::llround(1000.0 * unixTime), Qt::UTC)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
        .toStdString();
}

std::string number(double value, int decimals = 4) {
    return std::isfinite(value) ? QString::number(value, 'f', decimals).toStdString() : "-";
}

/// What is said of the light of one rig as a whole.
void printHead(const flight::RigLight& light) {
    show("sky: %s, %s\n", wordOf(light.sky.state), light.sky.reason);
    show("type: %s (%s)\n", flight::wordOf(light.type), light.typeReason);
    if (light.jitterRaw) {
        show("jitter: %s %%", number(100.0 * *light.jitterRaw, 2));
        show(light.jitterSteady ? ", steadied %s %%\n" : "%s\n",
             light.jitterSteady ? number(100.0 * *light.jitterSteady, 2) : "");
    }
    if (light.mount) {
        show("sensor leans from its stated pose: %s degrees forward, %s degrees to the right\n",
             number(light.mount->forward / kDegree, 2),
             number(light.mount->right / kDegree, 2));
    }
}

void printCaptures(const flight::RigLight& light) {
    show("%-19s %7s %9s %10s %10s %10s %10s %7s\n",
         "capture (UTC)",
         "sun deg",
         "band nm",
         "reading",
         "level",
         "used",
         "clear sky",
         "ratio");
    for (std::size_t i = 0; i < light.series.captures.size(); ++i) {
        const flight::LightCapture& capture = light.series.captures[i];
        const auto row = static_cast<Eigen::Index>(i);
        for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
            const auto column = static_cast<Eigen::Index>(b);
            const double level = capture.reading[column] * light.levelling(row, column);
            show("%-19s %7s %9s %10s %10s %10s %10s %7s\n",
                 timeOf(capture.time),
                 number(capture.sunElevation / kDegree, 1),
                 number(light.series.bands[b].band.wavelengthNm, 0),
                 number(capture.reading[column]),
                 number(level),
                 number(light.used(row, column)),
                 number(capture.clearSky[column]),
                 light.series.isAbsolute ? number(level / capture.clearSky[column], 2) : "-");
        }
    }
}

void print(const std::vector<flight::Witness>& witnesses) {
    if (witnesses.empty()) {
        show("no panel was found\n");
        return;
    }
    show("\nlight at the panels, W/m2/nm\n%-24s %9s %10s %10s %10s %8s %8s %8s\n",
         "panel (UTC)",
         "band nm",
         "sensor",
         "panel",
         "clear sky",
         "sen/sky",
         "pan/sky",
         "pan/sen");
    std::string said;
    for (const flight::Witness& one : witnesses) {
        show("%-24s %9s %10s %10s %10s %8s %8s %8s\n",
             timeOf(one.time),
             number(one.wavelengthNm, 0),
             number(one.sensor),
             number(one.panel),
             number(one.clearSky),
             number(one.sensorRatio(), 2),
             number(one.panelRatio(), 2),
             number(one.panelToSensor(), 2));
    }
    for (const flight::Witness& one : witnesses) {
        const std::string text = timeOf(one.time) + ": " + one.verdict;
        if (!one.verdict.empty() && text != said) {
            show("%s\n", text);
            said = text;
        }
    }
}

Json describe(const flight::RigLight& light) {
    Json captures = Json::array();
    for (std::size_t i = 0; i < light.series.captures.size(); ++i) {
        const flight::LightCapture& capture = light.series.captures[i];
        const auto row = static_cast<Eigen::Index>(i);
        Json bands = Json::array();
        for (std::size_t b = 0; b < light.series.bands.size(); ++b) {
            const auto column = static_cast<Eigen::Index>(b);
            const auto value = [](double one) { return flight::orNull(std::optional(one)); };
            bands.push_back(
                {{"camera", std::to_string(light.series.bands[b].cameraId)},
                 {"wavelength_nm", light.series.bands[b].band.wavelengthNm},
                 {"reading", value(capture.reading[column])},
                 {"level", value(capture.reading[column] * light.levelling(row, column))},
                 {"used", value(light.used(row, column))},
                 {"standard_error", value(light.standardError(row, column))},
                 {"clear_sky", value(capture.clearSky[column])}});
        }
        captures.push_back(
            {{"time_unix", capture.time},
             {"sun_elevation_deg", flight::orNull(std::optional(capture.sunElevation / kDegree))},
             {"bands", std::move(bands)}});
    }
    Json mount;
    if (light.mount) {
        mount = {light.mount->forward / kDegree, light.mount->right / kDegree};
    }
    return {{"state", wordOf(light.sky.state)},
            {"reason", light.sky.reason},
            {"correction_type", flight::wordOf(light.type)},
            {"type_reason", light.typeReason},
            {"jitter",
             {{"raw", flight::orNull(light.jitterRaw)},
              {"steady", flight::orNull(light.jitterSteady)}}},
            {"mount_deg", mount},
            {"choice", light.isSteady ? "steady" : "raw"},
            {"is_absolute", light.series.isAbsolute},
            {"captures", std::move(captures)}};
}

int light(const Options& options, Terminal& terminal) {
    const flight::Plan plan = flight::makePlan(options.plan, terminal);
    terminal.failures(plan.failures);
    const std::vector<flight::RigLight>& lights = plan.decisions.project.lights;
    if (options.json) {
        Json rigs = Json::array();
        for (const flight::RigLight& one : lights) {
            rigs.push_back(describe(one));
        }
        Json witnesses = Json::array();
        for (const flight::Witness& one : plan.witnesses) {
            witnesses.push_back(toJson(one));
        }
        showJson({{"rigs", std::move(rigs)}, {"witnesses", std::move(witnesses)}});
    } else {
        for (const flight::RigLight& one : lights) {
            printHead(one);
            printCaptures(one);
        }
        print(plan.witnesses);
    }
    if (lights.empty()) {
        terminal.failure({{}, "no image has a reading of a light sensor"});
        return NothingDone;
    }
    return plan.failures.empty() ? AllDone : SomeFailed;
}

} // namespace

Action addLight(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand(
        "light", "Tell what light sensor, panels and clear sky say of the light over a flight");
    addPlanning(command, options->plan)->required();
    addJson(command, options->json);
    return [options](Terminal& terminal) { return light(*options, terminal); };
}

} // namespace tessik::app
