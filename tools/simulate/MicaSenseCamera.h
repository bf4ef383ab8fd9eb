#pragma once

#include "simulate/Sensor.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
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

/// What cameras like those of MicaSense have in common: one file for each band, 12 bits shifted
/// left by 4, an exposure that differs from row to row. A sample is
///   dark + 65536 L gain (t + a2 y - a3 t y) brightness / a1 + noise,
/// L the radiance in W/m2/sr/nm, y the row, t the exposure time in s.
class MicaSenseCamera final : public Camera {
public:
    struct Optics {
        MicaSenseCalibration calibration;
        BandMatrix brightness;
    };
    /// What distinguishes one of these cameras from the others.
    struct Model {
        std::string name;
        std::string serialNumber;
        std::vector<Band> bands;
        std::vector<Optics> optics; ///< of each band
        Sensor sensor;
        std::vector<int> speeds; ///< ISO, in the order in which captures go through them
        double highestDark = 0.0;
        /// Of the 2 x 2 pixels that repeat over the image, row after row, DN at 16 bits.
        std::function<std::array<double, 4>(const Shot&)> darkLevels;
        /// Dark level, vignetting, fraction of a second, reading of the light sensor.
        std::function<std::vector<exif::NewTag>(const Shot&)> ownTags;
    };
    MicaSenseCamera(const CameraOptions& options, Model model);

    [[nodiscard]] std::string name() const override { return m_model.name; }
    [[nodiscard]] const std::vector<Band>& bands() const override { return m_model.bands; }
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override;
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const override;

    /// The calibration of one band.
    /// @param shutterSeconds, shutterShare by which the exposure of the last row differs from that
    ///        of the first: longer by a time, shorter by a share of the exposure time
    static MicaSenseCalibration calibrationOf(const CameraOptions& options,
                                              std::size_t band,
                                              double a1,
                                              double shutterSeconds,
                                              double shutterShare);

private:
    [[nodiscard]] MicaSenseExposure expose(const Shot& shot) const;
    [[nodiscard]] std::vector<exif::NewTag> tagsOf(const MicaSenseExposure& exposure,
                                                   const Shot& shot) const;

    CameraOptions m_options;
    Model m_model;
};

/// A camera like the MicaSense RedEdge: rolling shutter, radial vignetting, a dark level that
/// differs between neighbouring pixels, a light sensor in W/m2/nm.
std::unique_ptr<Camera> makeRedEdge(const CameraOptions& options);

/// A camera like the MicaSense RedEdge-P: it clips one step earlier than a RedEdge; its dark level
/// is one number, which differs between images; its vignetting is a polynomial of column and row;
/// the exposure grows by up to 10 % from the first row to the last; the light sensor is of the
/// second generation; and the time of capture has nanoseconds.
std::unique_ptr<Camera> makeRedEdgeP(const CameraOptions& options);

} // namespace tessik::simulate
