#pragma once

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"
#include "platform/panel/Outline.h"

#include <Eigen/Core>

#include <optional>

namespace tessik::target {

/// A panel as one band of a capture shows it.
struct SeenPanel {
    const BandMatrix& band;
    const Corners& code;       ///< its corners, in turn around it, px
    const image::Ring& region; ///< of the surface
};

/// How far another band of the same size shows the panel and its surroundings elsewhere. What the
/// code looks like there plays no part: it is for panels whose code cannot be read.
/// @param reach largest shift along x and y, px
/// @return nothing where no place is like the panel, or more than one
TESSIK_READERS_EXPORT std::optional<Eigen::Vector2d>
panelShift(const SeenPanel& seen, const BandMatrix& band, double reach);

} // namespace tessik::target
