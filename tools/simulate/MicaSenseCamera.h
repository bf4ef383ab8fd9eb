#pragma once

#include "simulate/Sensor.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tessik::simulate {

/// What the maker's calibration of one band says, and which of its pixels are defective.
struct MicaSenseCalibration {
    double a1 = 0.0; ///< W s/m2/sr/nm at ISO 100 and full scale
    double a2 = 0.0; ///< s per row
    double a3 = 0.0; ///< 1 per row
    double fNumber = 2.8;
    PixelList badPixels;

    /// The sensitivity that the camera states; the maker derives it from a1.
    [[nodiscard]] double bandSensitivity() const;
};

/// How one image was exposed. The time is the very fraction that the file states.
struct MicaSenseExposure {
    static constexpr std::int64_t kDenominator = 10000000;
    std::int64_t numerator = 0;
    int iso = 100;

    [[nodiscard]] double seconds() const {
        return static_cast<double>(numerator) / static_cast<double>(kDenominator);
    }
    [[nodiscard]] double gain() const { return iso / 100.0; }
};

/// What cameras like those of MicaSense have in common: five bands, a file each, 12 bits shifted
/// left by 4, an exposure that differs from row to row. A sample is
///   dark + 65536 L gain (t + a2 y - a3 t y) brightness / a1 + noise,
/// L the radiance in W/m2/sr/nm, y the row, t the exposure time in s.
class MicaSenseCamera : public Camera {
public:
    static constexpr std::size_t kBandCount = 5;

    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const final;
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const final;

protected:
    struct Optics {
        MicaSenseCalibration calibration;
        BandMatrix brightness;
    };
    struct Model {
        std::string name;
        std::string serialNumber;
        Sensor sensor;
        std::vector<int> speeds; ///< ISO, in the order in which captures go through them
        double highestDark = 0.0;
        std::vector<Optics> optics; ///< of each band
    };
    MicaSenseCamera(const CameraOptions& options, Model model);

    /// Of the 2 x 2 pixels that repeat over the image, row after row, DN at 16 bits.
    [[nodiscard]] virtual std::array<double, 4> darkLevels(const Shot& shot) const = 0;
    /// Dark level, vignetting, fraction of a second, reading of the light sensor.
    [[nodiscard]] virtual std::vector<exif::NewTag> ownTags(const Shot& shot) const = 0;
    [[nodiscard]] const CameraOptions& options() const { return m_options; }

    /// What a band's calibration consists of.
    /// @param shutterSeconds, shutterShare by which the exposure of the last row differs from that
    ///        of the first: longer by a time, shorter by a share of the exposure time
    static MicaSenseCalibration calibrationOf(const CameraOptions& options,
                                              std::size_t band,
                                              double a1,
                                              double shutterSeconds,
                                              double shutterShare);

private:
    [[nodiscard]] MicaSenseExposure expose(const Shot& shot) const;

    CameraOptions m_options;
    Model m_model;
};

} // namespace tessik::simulate
