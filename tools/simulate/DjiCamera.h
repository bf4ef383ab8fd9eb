#pragma once

#include "simulate/Sensor.h"
#include "simulate/Vignetting.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessik::simulate {

struct DjiBody {
    std::string model;
    std::string serialNumber;
    double fNumber = 1.0;
    double dark = 0.0; ///< DN at 16 bits
};

/// What the files of one band say of its calibration.
struct DjiCalibration {
    double adjustment = 1.0;     ///< values times this compare with those of other bands
    RadialPolynomial correction; ///< c(r), by which values are multiplied
};

/// How one image was exposed, as the file states it.
struct DjiExposure {
    std::int64_t microseconds = 1;
    double gain = 1.0;
    int iso = 100; ///< in the EXIF data; what counts is the gain
};

/// What multispectral cameras like those of DJI have in common: one file for each band, and a
/// maker's formula by which all bands are comparable. A sample is
///   dark + K L gain t / (adjustment c(r)) + noise,
/// L the radiance in W/m2/sr/nm, t the exposure time in s, K unknown and the same for all bands.
/// The irradiance that the files state is compensated by the aircraft: what level ground receives,
/// times one unknown number for all bands. The files do not list defective pixels; all pixels are
/// good.
class DjiCamera final : public Camera {
public:
    struct Optics {
        DjiCalibration calibration;
        BandMatrix brightness; ///< 1 / c
        BandMatrix clip; ///< where each pixel clips, DN; empty = at the sensor's largest sample
    };
    /// What distinguishes one of these cameras from the others.
    struct Model {
        std::string name;
        DjiBody body;
        std::vector<Band> bands;
        std::vector<Optics> optics; ///< of each band
        Sensor sensor;
        double perRadiance = 0.0;   ///< K, DN/s for 1 W/m2/sr/nm
        double perIrradiance = 0.0; ///< stated for 1 W/m2/nm
        std::function<std::string(std::size_t capture, std::size_t band)> fileName;
        /// The gain, and the ISO speed that goes with it; not the time.
        std::function<DjiExposure(const Shot&)> amplification;
        /// The time, the dark level where not all such files have it, and what else the model
        /// writes.
        /// @param irradiance as the aircraft states it, compensated
        std::function<std::vector<exif::NewTag>(const Shot&, double irradiance)> ownTags;
    };
    DjiCamera(const CameraOptions& options, Model model);

    [[nodiscard]] std::string name() const override { return m_model.name; }
    [[nodiscard]] const std::vector<Band>& bands() const override { return m_model.bands; }
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override {
        return m_model.fileName(capture, band);
    }
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const override;

    /// @param correction of a band, over r as a share of the half diagonal, without the leading 1
    /// @param centerShift of its centre from the image's, as a share of the width and height
    static Optics opticsOf(const CameraOptions& options,
                           double adjustment,
                           const std::array<double, 6>& correction,
                           const std::pair<double, double>& centerShift);

private:
    [[nodiscard]] DjiExposure expose(const Shot& shot) const;
    [[nodiscard]] std::vector<exif::NewTag> tagsOf(const DjiExposure& exposure,
                                                   const Shot& shot) const;

    CameraOptions m_options;
    Model m_model;
};

/// How the files write a 3 x 3 matrix that changes nothing.
inline constexpr auto kIdentityMatrix = "1.0000000,0.0000000,0.0000000,0.0000000,1.0000000,"
                                        "0.0000000,0.0000000,0.0000000,1.0000000";

/// A camera like the DJI P4 Multispectral: five bands, 10 bits shifted left by 6, the local time
/// (Pacific daylight time) without its zone and in whole seconds. Its pixels do not clip at one
/// value: they clip at 65400 - 0.386 row, row in px whatever the image's height, with a spread of
/// 33 (standard deviation, cut off at 130). What is stored is that value, rounded to the sensor's
/// steps; so a clipped pixel can store the same value as one that is not clipped.
std::unique_ptr<Camera> makeP4m(const CameraOptions& options);

/// A camera like the DJI Mavic 3 Multispectral: four bands, 16 bits, a vignetting that takes two
/// thirds of the light from the corners, a gain that is never quite 1, UTC with the satellites' own
/// stamps. Its maker does not say where it clips. Here it clips at a value that no file states and
/// no other camera has, so that it has to be found in the images.
std::unique_ptr<Camera> makeM3m(const CameraOptions& options);

} // namespace tessik::simulate
