#pragma once

#include "platform/image/BandMatrix.h"

#include <cstdint>

namespace tessik::simulate {

/// What a camera that looks straight down sees of the ground.
struct View {
    double eastM = 0.0;  ///< of the image's centre, m
    double northM = 0.0; ///< of the image's centre, m
    double pixelM = 0.0; ///< size of a pixel on the ground, m
    Eigen::Index width = 0;
    Eigen::Index height = 0;
    double topDegrees = 0.0; ///< where the image's top points, from north, clockwise
};

/// Reflectance of an endless ground. It is a board of square fields. A field is of one material, or
/// of two with a slanted edge between them, or a ramp from dark to bright; some have a glint. The
/// seed lays out the board; every band sees the same board.
class Scene {
public:
    /// Of the brightest material, in every band.
    static constexpr double kBrightest = 0.80;
    /// Of the darkest material in most bands; no material is darker.
    static constexpr double kDarkest = 0.02;
    /// Of a glint's core: an order of magnitude above what any exposure leaves room for. Around it
    /// the light fades, so that some pixels come close to saturation from below.
    static constexpr double kGlint = 40.0;

    explicit Scene(std::uint64_t seed) : m_seed(seed) {}

    /// Reflectance at the centre of each pixel.
    [[nodiscard]] BandMatrix reflectance(double wavelengthNm, const View& view) const;

private:
    std::uint64_t m_seed;
};

} // namespace tessik::simulate
