#include "radiometry/Thermal.h"

namespace tessik::radiometry {

void toCelsius(BandImage& bands) {
    // In double: two decimals of 300 K are close to what a float resolves.
    constexpr double kKelvinPerSample = 0.01;
    constexpr double kZeroCelsius = 273.15; // K
    for (BandMatrix& band : bands) {
        for (float& value : band.reshaped()) {
            value = value > 0.0F ? static_cast<float>(
                                       static_cast<double>(value) * kKelvinPerSample - kZeroCelsius)
                                 : kNoData;
        }
    }
}

} // namespace tessik::radiometry
