#pragma once

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace tessik::flight {

/// When and where an image was taken, and how it lies on the ground.
struct Station {
    double time = 0.0;                       ///< s
    Eigen::Vector3d position{0.0, 0.0, 0.0}; ///< east, north, up, m
    /// Where the upper edge of the image points, from north, clockwise, degrees; NaN = not known.
    double heading = 0.0;
};

/// Two images that probably show the same ground, by their indices.
struct Pair {
    std::size_t first = 0;
    std::size_t second = 0;
    bool isAlong = true; ///< one after the other on a line of flight; else on two lines
};

/// By how much the second heading is turned from the first, clockwise, -180 to 180 degrees.
double turnBetween(double first, double second);

/// Chooses pairs of neighbours from the images of one camera, half of them along the lines of
/// flight and half across, as far as there are such, spread evenly over the flight. How much ground
/// an image shows is not known, so that some pairs may turn out not to overlap.
///
/// Images near the ground are left out: those that are less than half as high above the flight's
/// first image as the median is. Headings that are not known become those of the course.
/// @param stations in any order
std::vector<Pair> choosePairs(std::vector<Station>& stations, std::size_t count);

} // namespace tessik::flight
