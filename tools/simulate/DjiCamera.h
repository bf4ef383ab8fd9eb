#pragma once

#include "simulate/Sensor.h"
#include "simulate/Vignetting.h"

#include <array>
#include <cstdint>
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

/// What multispectral cameras like those of DJI have in common: a band a file, and a maker's
/// formula by which all bands are comparable. A sample is
///   dark + K L gain t / (adjustment c(r)) + noise,
/// L the radiance in W/m2/sr/nm, t the exposure time in s, K unknown and the same for all bands.
/// The irradiance that the files state is compensated by the aircraft: what level ground receives,
/// times one unknown number for all bands. The files list no defective pixels, and there are none.
class DjiCamera : public Camera {
public:
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const final;

protected:
    struct Optics {
        DjiCalibration calibration;
        BandMatrix brightness; ///< 1 / c
        BandMatrix clip; ///< where each pixel clips, DN; empty = at the sensor's largest sample
    };
    struct Model {
        DjiBody body;
        Sensor sensor;
        double perRadiance = 0.0;   ///< K, DN/s for 1 W/m2/sr/nm
        double perIrradiance = 0.0; ///< stated for 1 W/m2/nm
        std::vector<Optics> optics; ///< of each band
    };
    DjiCamera(const CameraOptions& options, Model model);

    /// The gain, and the ISO speed that goes with it; not the time.
    [[nodiscard]] virtual DjiExposure amplification(const Shot& shot) const = 0;
    /// Time, dark level where it is not in all such files, and what else the model writes.
    [[nodiscard]] virtual std::vector<exif::NewTag> ownTags(const Shot& shot) const = 0;
    [[nodiscard]] const CameraOptions& options() const { return m_options; }
    [[nodiscard]] const Model& model() const { return m_model; }
    /// As the aircraft states it, compensated.
    [[nodiscard]] double statedIrradiance(const Shot& shot) const;

    /// @param correction of a band, over r as a share of the half diagonal, without the leading 1
    /// @param shiftX, shiftY of its centre from the image's, as a share of the width and height
    static Optics opticsOf(const CameraOptions& options,
                           double adjustment,
                           const std::array<double, 6>& correction,
                           double shiftX,
                           double shiftY);

private:
    [[nodiscard]] DjiExposure expose(const Shot& shot) const;

    CameraOptions m_options;
    Model m_model;
};

} // namespace tessik::simulate
