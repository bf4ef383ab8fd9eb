#pragma once

#include "simulate/Sensor.h"
#include "simulate/Vignetting.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::simulate {

/// What the files of one band say of its calibration, and which of its pixels are defective.
struct SequoiaCalibration {
    double sensitivity = 0.0; ///< A of the sensor model
    double darkLevel = 0.0;   ///< B, DN at 16 bits
    double correction = 0.0;  ///< C
    double fNumber = 2.2;
    PlanePolynomial brightness;
    PixelList badPixels;
};

/// How one image was exposed, as the file states it.
struct SequoiaExposure {
    static constexpr std::int64_t kDenominator = 1000000;
    std::int64_t numerator = 0;
    int iso = 100;
    double temperature = 0.0;          ///< of the sensor, degrees Celsius
    std::int64_t bootMicroseconds = 0; ///< since the camera was switched on

    [[nodiscard]] double seconds() const {
        return static_cast<double>(numerator) / static_cast<double>(kDenominator);
    }
};

/// The tags that a Parrot Sequoia writes into a file.
std::vector<exif::NewTag> sequoiaTags(const SequoiaCalibration& calibration,
                                      const SequoiaExposure& exposure,
                                      const std::string& serialNumber,
                                      const Band& band,
                                      const Shot& shot);

} // namespace tessik::simulate
