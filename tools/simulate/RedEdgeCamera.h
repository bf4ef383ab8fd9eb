#pragma once

#include "simulate/Sensor.h"

#include <array>
#include <cstdint>

namespace tessik::simulate {

/// What the maker's calibration of one band says, and which of its pixels are defective.
struct RedEdgeCalibration {
    double a1 = 0.0; ///< W s/m2/sr/nm at ISO 100 and full scale
    double a2 = 0.0; ///< s per row
    double a3 = 0.0; ///< 1 per row
    double fNumber = 2.8;
    double centerX = 0.0; ///< px, of the vignetting
    double centerY = 0.0; ///< px
    /// brightness = 1 + c0 r + ... + c5 r^6, r in px.
    std::array<double, 6> polynomial{};
    /// Dark level of the 2 x 2 pixels that repeat over the image, row after row, DN at 16 bits.
    std::array<int, 4> dark{};
    PixelList badPixels;

    /// The sensitivity that the camera states; the maker derives it from a1.
    [[nodiscard]] double bandSensitivity() const;
};

/// How one image was exposed. The time is the very fraction that the file states.
struct RedEdgeExposure {
    static constexpr std::int64_t kDenominator = 10000000;
    std::int64_t numerator = 0;
    int iso = 100;

    [[nodiscard]] double seconds() const {
        return static_cast<double>(numerator) / static_cast<double>(kDenominator);
    }
    [[nodiscard]] double gain() const { return iso / 100.0; }
};

/// A camera like the MicaSense RedEdge: five bands, a file each, 12 bits shifted left by 4, rolling
/// shutter. A sample is
///   dark + 65536 L gain (t + a2 y - a3 t y) brightness(r) / a1 + noise,
/// L the radiance in W/m2/sr/nm, y the row, t the exposure time in s.
class RedEdgeCamera final : public Camera {
public:
    struct Options {
        Eigen::Index width = 640;  ///< px
        Eigen::Index height = 480; ///< px
        std::uint64_t seed = 1;
        double noise = 1.0; ///< times the camera's own shot and read noise
    };
    static constexpr std::size_t kBandCount = 5;

    explicit RedEdgeCamera(const Options& options);

    [[nodiscard]] std::string name() const override { return "RedEdge"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override;
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const override;

private:
    [[nodiscard]] RedEdgeExposure expose(const Shot& shot) const;

    Options m_options;
    std::array<RedEdgeCalibration, kBandCount> m_calibrations;
    std::array<BandMatrix, kBandCount> m_brightness;
};

} // namespace tessik::simulate
