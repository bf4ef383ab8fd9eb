#pragma once

#include "simulate/DjiCamera.h"

namespace tessik::simulate {

/// A camera like the DJI Mavic 3 Multispectral: four bands, 16 bits, a vignetting that takes two
/// thirds of the light from the corners, a gain that is never quite 1, UTC with the satellites' own
/// stamps. Its maker does not say where it clips. Here it does at a value that no file states and
/// no other camera has, which is to be found in the images.
class M3mCamera final : public DjiCamera {
public:
    static constexpr std::size_t kBandCount = 4;
    static constexpr float kClip = 65200.0F;

    explicit M3mCamera(const CameraOptions& options);

    [[nodiscard]] std::string name() const override { return "Mavic 3 Multispectral"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override;

private:
    static Model modelOf(const CameraOptions& options);
    [[nodiscard]] DjiExposure amplification(const Shot& shot) const override;
    [[nodiscard]] std::vector<exif::NewTag> ownTags(const Shot& shot) const override;
};

} // namespace tessik::simulate
