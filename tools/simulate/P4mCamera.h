#pragma once

#include "simulate/DjiCamera.h"

namespace tessik::simulate {

/// A camera like the DJI P4 Multispectral: five bands, 10 bits shifted left by 6, the local time
/// without its zone and in whole seconds. Its pixels do not clip at one value: at
/// 65400 - 0.386 row, row in px whatever the image's height, with a spread of 33 (standard
/// deviation, cut off at 130). What is stored is that, rounded to the sensor's steps; so a clipped
/// pixel can store the same as one that is not.
class P4mCamera final : public DjiCamera {
public:
    static constexpr std::size_t kBandCount = 5;
    /// Of the clock: Pacific daylight time.
    static constexpr int kUtcOffsetHours = -7;

    explicit P4mCamera(const CameraOptions& options);

    [[nodiscard]] std::string name() const override { return "P4 Multispectral"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;
    [[nodiscard]] std::string fileName(std::size_t capture, std::size_t band) const override;

private:
    static Model modelOf(const CameraOptions& options);
    [[nodiscard]] DjiExposure amplification(const Shot& shot) const override;
    [[nodiscard]] std::vector<exif::NewTag> ownTags(const Shot& shot) const override;
};

} // namespace tessik::simulate
