#include "cameras/sequoia/ThermalProfile.h"

#include "Input.h"
#include "radiometry/core/Types.h"

#include <cmath>

// The bytes are a sequoia_therm.dat.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessik;
    namespace sequoia = radiometry::sequoia;
    static const fuzz::File file(".dat");
    constexpr double kBefore = 7.0;
    sequoia::BandModels models;
    for (const char* name : {"Green", "Red", "Red edge", "NIR"}) {
        models[name].darkCurrent.temperatureCoefficient = kBefore;
    }
    bool isRefused = false;
    try {
        sequoia::applyThermalProfile(QString::fromStdString(file.write(data, size)), models);
    } catch (const radiometry::error&) {
        isRefused = true;
    }
    fuzz::require(models.size() == 4, "no band is added");
    for (const auto& [name, model] : models) {
        const double coefficient = model.darkCurrent.temperatureCoefficient;
        fuzz::require(std::isfinite(coefficient), "a coefficient is finite");
        fuzz::require(!isRefused || coefficient == kBefore, "all or nothing");
    }
    return 0;
}
