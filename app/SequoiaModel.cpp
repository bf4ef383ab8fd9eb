#include "SequoiaModel.h"

#include "Console.h"
#include "JsonReader.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/core/Types.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <optional>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;
using radiometry::sequoia::BandModels;
using radiometry::sequoia::ParameterMatrix;

struct Model {
    std::string serialNumber;
    BandModels bands;
};

/// Says why when the file cannot be used.
std::optional<Model> read(const std::string& file) {
    try {
        auto [serialNumber, bands] = radiometry::sequoia::readModel(QString::fromStdString(file));
        return Model{serialNumber.toStdString(), std::move(bands)};
    } catch (const radiometry::error& failure) {
        sayFailure({}, failure.what());
        return std::nullopt;
    }
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

} // namespace

int showSequoiaModel(const std::string& file, bool json) {
    const std::optional<Model> model = read(file);
    if (!model) {
        return NothingDone;
    }
    Json bands = Json::array();
    for (const char* name : {"Green", "Red", "Red edge", "NIR"}) {
        const auto& parameter = model->bands.at(QString::fromLatin1(name));
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
        const Json document = {{"file", file}, {"serial", model->serialNumber}, {"bands", bands}};
        std::puts(jsonText(document, 2).c_str());
        return AllDone;
    }
    show("%s\n  serial number            %s\n", file.c_str(), model->serialNumber.c_str());
    for (const Json& band : bands) {
        show("  %s\n", band["name"].get<std::string>().c_str());
        for (const auto& [key, value] : band.items()) {
            if (key != "name") {
                show("    %-30s %s\n",
                     key.c_str(),
                     (value.is_object() ? line(value) : value.dump()).c_str());
            }
        }
    }
    return AllDone;
}

int checkSequoiaModel(const std::string& file) {
    const std::optional<Model> model = read(file);
    if (!model) {
        return NothingDone;
    }
    for (const auto& [name, parameter] : model->bands) {
        const bool isFinite = std::isfinite(parameter.darkCurrent.darkOffset) &&
                              std::isfinite(parameter.darkCurrent.temperatureCoefficient) &&
                              parameter.darkCurrent.dark.allFinite() &&
                              parameter.cmos.deltaTau.allFinite() &&
                              parameter.cmos.vignetting.allFinite();
        if (!isFinite || !(parameter.cmos.gain > 0.0) ||
            !(parameter.cmos.vignetting.minCoeff() > 0.0)) {
            sayFailure(file, "band " + name.toStdString() + " holds values that cannot be used");
            return NothingDone;
        }
    }
    show("%s: good, serial number %s\n", file.c_str(), model->serialNumber.c_str());
    return AllDone;
}

} // namespace tessik::app
