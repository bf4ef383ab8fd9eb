#pragma once

#include "platform/camera/InputImage.h"
#include "platform/camera/TargetDetector.h"
#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <random>
#include <string>

namespace tessik::target {

/// How a panel's code is seen.
struct PanelPose {
    Eigen::Vector2d centre = Eigen::Vector2d::Zero(); ///< of the code, px
    double side = 82.0;                               ///< of the code, px
    double angle = 0.0;                               ///< rad, clockwise as the image is looked at
    /// What is half a side from the centre is seen this share nearer or farther, along x and y.
    Eigen::Vector2d lean = Eigen::Vector2d::Zero();

    /// @param place in sides of the code from its centre, x to the right, y down, as it is printed
    [[nodiscard]] Eigen::Vector2d inImage(const Eigen::Vector2d& place) const;
};

/// What is drawn: by default a panel of version 6.
struct DrawnPanel {
    std::string text;
    PanelPose pose;
    /// Of the grey surface, in sides of the code from its centre as above.
    Eigen::Vector2d surface = {0.0, 1.42};
    double surfaceSide = 1.12;
    bool hasSurface = true;
    bool isFramed = true; ///< in black; else on bare ground
    double ink = 7000.0;
    double paper = 48000.0;
    double grey = 30000.0;
};

/// Raw values of uneven ground with panels on it.
class PanelScene {
public:
    static constexpr double kDark = 4800.0;

    PanelScene(Eigen::Index rows, Eigen::Index cols);

    PanelScene& fill(double value);
    PanelScene& draw(const DrawnPanel& panel);
    /// Twice in each direction a mean of three, that many times: a standard deviation of the square
    /// root of that many px.
    PanelScene& blur(int times);
    PanelScene& addNoise(double standardDeviation);

    [[nodiscard]] BandMatrix& band() { return m_band; }
    [[nodiscard]] const BandMatrix& band() const { return m_band; }
    /// The record of an image of one band at a wavelength, nm.
    [[nodiscard]] InputImage image(double wavelength = 650.0) const;
    [[nodiscard]] Detection find() const;

private:
    BandMatrix m_band;
    std::mt19937 m_random{1}; // NOLINT(bugprone-random-generator-seed): the same each run
};

} // namespace tessik::target
