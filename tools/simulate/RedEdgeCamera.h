#pragma once

#include "simulate/MicaSenseCamera.h"
#include "simulate/Vignetting.h"

namespace tessik::simulate {

/// A camera like the MicaSense RedEdge: rolling shutter, radial vignetting, a dark level that
/// differs between neighbouring pixels, a light sensor in W/m2/nm.
class RedEdgeCamera final : public MicaSenseCamera {
public:
    explicit RedEdgeCamera(const CameraOptions& options);

    [[nodiscard]] std::string name() const override { return "RedEdge"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;

private:
    static Model modelOf(const CameraOptions& options);
    [[nodiscard]] std::array<double, 4> darkLevels(const Shot& shot) const override;
    [[nodiscard]] std::vector<exif::NewTag> ownTags(const Shot& shot) const override;
};

} // namespace tessik::simulate
