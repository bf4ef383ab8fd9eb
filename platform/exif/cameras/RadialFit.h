#pragma once

#include "platform/export.h"

#include <Eigen/Core>

#include <optional>

namespace tessik::exif {

/// Turns a radial vignetting correction to multiply by into the brightness to divide by.
///
/// Given c(r) = k(0) + k(1) r + k(2) r^2 + ..., finds a polynomial p with p(r) c(r) = 1 to a
/// relative 1e-5 for every r from 0 to maxRadius, of the lowest degree that reaches it. Absent when
/// c is not positive there, or no degree up to 24 is enough.
///
/// @param correction k, one a power of the radius in px
/// @param maxRadius largest radius in the image, px
TESSIK_READERS_EXPORT std::optional<Eigen::VectorXd>
brightnessFromCorrection(const Eigen::VectorXd& correction, double maxRadius);

} // namespace tessik::exif
