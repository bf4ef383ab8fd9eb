#pragma once

#include "simulate/MicaSenseCamera.h"

namespace tessik::simulate {

/// A camera like the MicaSense RedEdge-P: it clips one step earlier than a RedEdge; its dark level
/// is one number, another one in each image; its vignetting is a polynomial of column and row; the
/// exposure grows by up to 10 % from the first row to the last; the light sensor is of the second
/// generation; and the time of capture has nanoseconds.
class RedEdgePCamera final : public MicaSenseCamera {
public:
    explicit RedEdgePCamera(const CameraOptions& options);

    [[nodiscard]] std::string name() const override { return "RedEdge-P"; }
    [[nodiscard]] const std::vector<Band>& bands() const override;

private:
    static Model modelOf(const CameraOptions& options);
    [[nodiscard]] std::array<double, 4> darkLevels(const Shot& shot) const override;
    [[nodiscard]] std::vector<exif::NewTag> ownTags(const Shot& shot) const override;
};

} // namespace tessik::simulate
