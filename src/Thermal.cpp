#include "radiometry/Thermal.h"

#include <cstdint>

namespace tessik::radiometry {

Account toCelsius(BandImage& bands) {
    // This is computed in double: two decimals of 300 K are close to what a float resolves.
    constexpr double kKelvinPerSample = 0.01;
    constexpr double kZeroCelsius = 273.15; // K
    Account account{"Celsius",
                    {{"pixels", "", {}}, {"masked", "", {}}, {"mean", "degree_Celsius", {}}}};
    for (BandMatrix& band : bands) {
        double sum = 0.0;
        std::int64_t masked = 0;
        for (float& value : band.reshaped<Eigen::RowMajor>()) {
            if (value > 0.0F) {
                value = static_cast<float>(static_cast<double>(value) * kKelvinPerSample -
                                           kZeroCelsius);
                sum += static_cast<double>(value);
            } else {
                value = kNoData;
                ++masked;
            }
        }
        const auto pixels = static_cast<double>(band.size());
        account.values[0].numbers.push_back(pixels);
        account.values[1].numbers.push_back(static_cast<double>(masked));
        // Without a valid pixel this is NaN: there is no mean.
        account.values[2].numbers.push_back(sum / (pixels - static_cast<double>(masked)));
    }
    return account;
}

} // namespace tessik::radiometry
