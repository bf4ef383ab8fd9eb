#pragma once

/// @file
/// How two small images of the same ground lie on each other.
///
/// The shift is where the phase correlation of the two has its peak: C. D. Kuglin and
/// D. C. Hines, The phase correlation image alignment method, IEEE Conference on Cybernetics and
/// Society, 1975.

#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <cstdint>
#include <optional>

namespace tessik::flight {

/// A band at about kReducedWidth columns: means of squares of pixels, of large ones of some of
/// their rows. Squares of which more than a tenth has no valid value are NaN.
/// @param values rows x columns; NaN, or not above kNoData = not valid
/// @param times how many pixels a square is wide
BandMatrix reduced(const BandMatrix& values, Eigen::Index times);

constexpr Eigen::Index kReducedWidth = 160; ///< px

constexpr Eigen::Index kLeastSide = 16; ///< px: nothing is to be found in less

/// How many pixels wide the squares are of an image of that width.
Eigen::Index reduction(Eigen::Index width);

/// What phase correlation looks at: the logarithm of a band without its slow changes, so that
/// neither shading nor brightness matter. 0 where there is no value.
BandMatrix detailsOf(const BandMatrix& values);

/// Where a second image lies on a first one of the same size. A point at p from the centre of the
/// second one, px, x to the right and y down, is at R p + shift from the centre of the first one.
struct Placement {
    double turn = 0.0;               ///< of the rotation R, degrees, clockwise as one sees it
    Eigen::Vector2d shift{0.0, 0.0}; ///< px
    double response = 0.0;           ///< height of the peak over the common ground, 0..1
    double common = 0.0;             ///< share of the first image that is common ground

    /// The response as it would be with whole images: the height of peaks by chance falls with the
    /// root of the number of pixels.
    [[nodiscard]] double certainty() const;
};

/// Finds the shift.
/// @param first, second details, of one size, at least kLeastSide high and wide
/// @param turn degrees
/// @param expected a shift that is near; absent = not known
/// @return absent when nothing was found that the two have in common
std::optional<Placement> place(const BandMatrix& first,
                               const BandMatrix& second,
                               double turn,
                               const std::optional<Eigen::Vector2d>& expected);

/// The second image as it lies on the first; NaN where it does not reach.
BandMatrix laid(const BandMatrix& second, const Placement& placement);

} // namespace tessik::flight
