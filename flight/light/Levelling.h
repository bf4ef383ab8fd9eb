#pragma once

/// @file
/// From what a tilted sensor reads to the light on level ground.

#include "flight/light/LightSeries.h"

#include <Eigen/Core>

#include <optional>
#include <vector>

namespace tessik::flight {

using SensorViews = std::vector<std::optional<SensorView>>;

/// How the sensor's true normal leans away from the stated one, rad.
struct Lean {
    double forward = 0.0;
    double right = 0.0;
};

/// What a sensor receives of the light of which the share d comes directly from the sun, the light
/// on a surface that faces the sun under the whole sky being 1. As the library's correction has it:
/// d c + (1 - d) w, c the cosine of incidence or 0, w = 1/2 + sign(q) q^2 / 2 with q the cosine of
/// the tilt.
double receivedShare(const SensorView& view, const Lean& lean, double d);

/// The same of level ground: d sin(elevation) + 1 - d.
double levelShare(const SensorView& view, double d);

/// Logarithm of level light / reading, captures x bands; NaN without a view.
/// @param direct the fraction of direct sunlight, one a band
Eigen::ArrayXXd
levellingLogarithms(const SensorViews& views, const Eigen::ArrayXd& direct, const Lean& lean);

/// What all bands see together: the mean over the bands, after the median of each is taken off. NaN
/// where no band has a value.
std::vector<double> commonMode(const Eigen::ArrayXXd& logarithms);

/// How much the light of neighbouring captures differs: the median of the absolute differences of
/// a logarithm over 1, 2, 4 and 8 captures, averaged; differences across gaps are left out. NaN
/// where there are fewer than 8.
double unsteadiness(const std::vector<double>& times, const std::vector<double>& values);

/// The lean of the sensor, and by how much the fraction of direct sunlight has to change, for which
/// neighbouring captures agree best.
struct MountFit {
    Lean lean;
    double fractionShift = 0.0;
};

/// Fits the differences of neighbouring captures, over which the light hardly changes and the
/// attitude does, robustly; a lean of 3 degrees and a shift of 0.1 are what is expected beforehand,
/// so that what the readings do not tell stays 0.
/// @param logarithms of reading / clear sky, one a capture, the mean over the bands
/// @param direct mean fraction of direct sunlight of the bands
/// @param isSunlit captures that are compared
MountFit fitMount(const std::vector<double>& times,
                  const std::vector<double>& logarithms,
                  const SensorViews& views,
                  double direct,
                  const std::vector<bool>& isSunlit);

/// Light of which clouds take the direct part from time to time.
struct BrokenLight {
    Eigen::ArrayXd direct; ///< fraction of direct sunlight between the clouds, one a band
    Eigen::ArrayXd sunlit; ///< logarithm of level light / clear sky between the clouds, one a band
};

/// Logarithm of level light / reading where clouds pass: the diffuse light is taken to be that
/// between the clouds, and what the sensor receives besides to come from the sun; where it receives
/// less than that, all light is diffuse. Captures x bands.
/// @param logarithms of reading / clear sky
Eigen::ArrayXXd levelUnderClouds(const Eigen::ArrayXXd& logarithms,
                                 const SensorViews& views,
                                 const Lean& lean,
                                 const BrokenLight& light);

} // namespace tessik::flight
