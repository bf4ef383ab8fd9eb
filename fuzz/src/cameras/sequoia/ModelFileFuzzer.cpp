#include "Input.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/core/Types.h"

// The bytes are a model file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessik;
    static const fuzz::File file(".tif");
    try {
        const auto [serialNumber, models] =
            radiometry::sequoia::readModel(QString::fromStdString(file.write(data, size)));
        fuzz::require(models.size() == 4, "four bands");
        for (const auto& [name, model] : models) {
            const auto& [deltaTau, gain, vignetting] = model.cmos;
            fuzz::require(deltaTau.rows() == vignetting.rows() &&
                              deltaTau.cols() == vignetting.cols() &&
                              deltaTau.rows() < model.darkCurrent.dark.rows() &&
                              2 * deltaTau.cols() <= model.darkCurrent.dark.cols(),
                          "matrices are of one size, which the raster holds");
        }
    } catch (const radiometry::error&) { // refused
    }
    return 0;
}
