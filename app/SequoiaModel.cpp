#include "app/Subcommands.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/core/Types.h"

#include <cmath>
#include <memory>
#include <string>

namespace tessik::app {
namespace {

using flight::Json;
using radiometry::sequoia::BandModels;
using radiometry::sequoia::ParameterMatrix;

struct Model {
    std::string serialNumber;
    BandModels bands;
};

/// @throws radiometry::error when the file cannot be used
Model read(const std::string& file) {
    auto [serialNumber, bands] = radiometry::sequoia::readModel(QString::fromStdString(file));
    return {serialNumber.toStdString(), std::move(bands)};
}

Json describe(const ParameterMatrix& matrix) {
    Json description = {{"rows", matrix.rows()}, {"columns", matrix.cols()}};
    if (matrix.size() > 0) {
        description["min"] = matrix.minCoeff();
        description["mean"] = matrix.mean();
        description["max"] = matrix.maxCoeff();
    }
    return description;
}

std::string line(const Json& d) {
    return std::to_string(d["columns"].get<int>()) + " x " + std::to_string(d["rows"].get<int>()) +
           (d.contains("min")
                ? ", " + d["min"].dump() + " to " + d["max"].dump() + ", mean " + d["mean"].dump()
                : "");
}

int showModel(const std::string& file, bool json) {
    const Model model = read(file);
    Json bands = Json::array();
    for (const char* name : {"Green", "Red", "Red edge", "NIR"}) {
        const auto& parameter = model.bands.at(QString::fromLatin1(name));
        bands.push_back(
            {{"name", name},
             {"dark_offset", parameter.darkCurrent.darkOffset},
             {"temperature_coefficient_per_c", parameter.darkCurrent.temperatureCoefficient},
             {"dark", describe(parameter.darkCurrent.dark)},
             {"gain", parameter.cmos.gain},
             {"delta_tau_s", describe(parameter.cmos.deltaTau)},
             {"vignetting", describe(parameter.cmos.vignetting)}});
    }
    if (json) {
        const Json document = {{"file", file}, {"serial", model.serialNumber}, {"bands", bands}};
        showJson(document);
        return AllDone;
    }
    show("%s\n  serial number            %s\n", file, model.serialNumber);
    for (const Json& band : bands) {
        show("  %s\n", band["name"].get<std::string>());
        for (const auto& [key, value] : band.items()) {
            if (key != "name") {
                show("    %-30s %s\n", key, (value.is_object() ? line(value) : value.dump()));
            }
        }
    }
    return AllDone;
}

int checkModel(const std::string& file, Terminal& terminal) {
    const Model model = read(file);
    for (const auto& [name, parameter] : model.bands) {
        const bool isFinite = std::isfinite(parameter.darkCurrent.darkOffset) &&
                              std::isfinite(parameter.darkCurrent.temperatureCoefficient) &&
                              parameter.darkCurrent.dark.allFinite() &&
                              parameter.cmos.deltaTau.allFinite() &&
                              parameter.cmos.vignetting.allFinite();
        if (!isFinite || !(parameter.cmos.gain > 0.0) ||
            !(parameter.cmos.vignetting.minCoeff() > 0.0)) {
            terminal.failure(
                {file, "band " + name.toStdString() + " holds values that cannot be used"});
            return NothingDone;
        }
    }
    show("%s: good, serial number %s\n", file, model.serialNumber);
    return AllDone;
}

} // namespace

Action addSequoiaModel(CLI::App& cli) {
    struct Options {
        std::string file;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand("sequoia-model", "Look at Parrot Sequoia model files");
    command.require_subcommand(1);
    CLI::App& show = *command.add_subcommand("show", "Show what a model file holds");
    CLI::App& check = *command.add_subcommand("check", "Tell whether a model file can be used");
    for (CLI::App* one : {&show, &check}) {
        one->add_option("FILE", options->file, "A model file")->required();
    }
    addJson(show, options->json);
    return [options, &show](Terminal& terminal) {
        return show.parsed() ? showModel(options->file, options->json)
                             : checkModel(options->file, terminal);
    };
}

} // namespace tessik::app
