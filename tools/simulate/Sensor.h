#pragma once

#include "simulate/Camera.h"
#include "simulate/Random.h"

#include <array>
#include <functional>
#include <utility>
#include <vector>

namespace tessik::simulate {

/// (column, row) of single pixels.
using PixelList = std::vector<std::pair<int, int>>;

/// The electronics behind the pixels: what they add to the signal, and what they cut off.
struct Sensor {
    double step = 1.0; ///< DN between two values that can be stored
    float largestSample = 0.0F;
    double electronsPerStep = 1.0;   ///< at a gain of 1
    double readNoiseElectrons = 0.0; ///< before the amplifier
    double readNoiseSteps = 0.0;     ///< after it
    std::array<float, 4> defectiveSamples{};
};

/// What the pixels of a row would hold without noise, DN.
struct RowContent {
    std::vector<double> dark;
    std::vector<double> signal; ///< above the dark level
    /// Where each pixel clips: a value at or above it is stored as this one, rounded. It begins as
    /// the place where the sensor's last step begins.
    std::vector<double> clip;
};

/// Draws different pixels of an image.
PixelList drawPixels(std::size_t count, Eigen::Index width, Eigen::Index height, Random random);

/// Draws the stored value of the brightest material where the image is brightest, as an automatic
/// exposure might choose it: some ten standard deviations below saturation. The darkest material
/// then lies as far above the dark level.
double drawPeak(Random random);

/// Reads a sensor out, with noise, steps, saturation and defects. Fills the samples of the frame
/// and what it states of its pixels.
/// @param gain how many times as many steps an electron makes as at a gain of 1
/// @param noise times the sensor's own
/// @param fillRow is called for each row, in their order
void readOut(const Sensor& sensor,
             double gain,
             double noise,
             Random random,
             const PixelList& defects,
             bool withDeviation,
             const std::function<void(Eigen::Index row, RowContent& content)>& fillRow,
             Frame& frame);

} // namespace tessik::simulate
