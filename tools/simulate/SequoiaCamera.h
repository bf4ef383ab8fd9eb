#pragma once

#include "simulate/Sensor.h"
#include "simulate/SequoiaModel.h"
#include "simulate/SequoiaTags.h"

#include <array>
#include <string>
#include <vector>

namespace tessik::simulate {

/// A camera like the Parrot Sequoia: four bands, one file for each, 10 bits shifted left by 6. Its
/// sensors are one of two kinds. Uniform: all pixels are alike except for the vignetting; a sample
/// is
///   B + L (A t ISO + C) brightness(x, y) / F^2 + noise,
/// L the radiance in W/m2/sr/nm, t the exposure time in s, A, B, C what the file states.
/// Measured: as SequoiaModel describes, which is written as a file beside the images. The images
/// state the model's gain and dark offset, but not what heat and the readout add, and they state
/// another vignetting: results without the model show the difference.
class SequoiaCamera final : public Camera {
public:
    enum class Kind { Uniform, Measured };
    static constexpr std::size_t kBandCount = 4;
    static constexpr auto kSerialNumber = "PI040412AB5E000273";
    /// Below the folder of a flight.
    static constexpr auto kCalibrationFolder = "calibration";

    /// @throws std::invalid_argument as SequoiaModel
    SequoiaCamera(const CameraOptions& options, Kind kind);

    [[nodiscard]] std::string name() const override { return "Sequoia"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override;
    [[nodiscard]] Frame take(const Shot& shot, bool withDeviation) const override;
    /// Model file and thermal profile of a measured camera, into a folder of their own.
    void writeCompanions(const std::filesystem::path& folder) const override;

    /// One for each band; empty when the sensors are uniform.
    [[nodiscard]] const std::vector<SequoiaModel>& models() const { return m_models; }

private:
    [[nodiscard]] SequoiaExposure expose(const Shot& shot) const;
    void fillUniform(const Shot& shot,
                     const SequoiaExposure& exposure,
                     Eigen::Index row,
                     RowContent& content) const;
    void fillMeasured(const Shot& shot,
                      const SequoiaExposure& exposure,
                      Eigen::Index row,
                      RowContent& content) const;

    CameraOptions m_options;
    Kind m_kind;
    std::array<SequoiaCalibration, kBandCount> m_calibrations;
    std::array<BandMatrix, kBandCount> m_brightness; ///< of uniform sensors
    std::vector<SequoiaModel> m_models;
};

} // namespace tessik::simulate
