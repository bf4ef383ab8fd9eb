#pragma once

#include "platform/image/BandMatrix.h"

#include <Eigen/Core>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tessik::simulate {

/// How a panel lies in front of a camera that looks straight down on it: turned and shifted.
struct PanelView {
    Eigen::Vector2d middle = Eigen::Vector2d::Zero(); ///< of the panel, px
    double angle = 0.0;                               ///< rad, clockwise in the image
    double pixelsPerMm = 1.0;                         ///< of the image
    Eigen::Index width = 0;                           ///< px, of the image
    Eigen::Index height = 0;                          ///< px, of the image
};

/// Where the grey surface of a panel is, in millimetres below the centre of its code.
struct PanelPrint {
    double top = 0.0;
    double bottom = 0.0;
    double halfWidth = 0.0;
};

/// A reflectance panel of version 6 on coarse ground: a grey surface whose reflectance changes
/// little with the wavelength, and above it, in a black frame, a label with a QR code that states
/// this reflectance. The seed chooses one of the two sizes in which such panels are made.
class Panel {
public:
    explicit Panel(std::uint64_t seed);

    [[nodiscard]] const std::string& serial() const { return m_serial; }
    /// Of the grey surface, as the code states it.
    [[nodiscard]] static double reflectanceAt(double wavelengthNm);

    /// How the panel lies at a capture. The bands' lenses stand side by side, so that each sees it
    /// at a slightly different place.
    [[nodiscard]] PanelView
    view(std::size_t capture, std::size_t band, Eigen::Index width, Eigen::Index height) const;

    /// Reflectance of what is in the image.
    /// @param grey of the grey surface, whatever the code states
    [[nodiscard]] BandMatrix reflectance(double grey, const PanelView& view) const;

    /// Corners of the grey surface in the image, px: top left, top right, bottom right, bottom left
    /// of the panel.
    [[nodiscard]] std::array<Eigen::Vector2d, 4> surface(const PanelView& view) const;

private:
    /// @param x, y mm from the centre of the code, y up
    [[nodiscard]] double valueAt(double x, double y, double grey) const;

    std::uint64_t m_seed;
    PanelPrint m_print;
    std::string m_serial;
    int m_modules = 0;           ///< along a side of the code
    std::vector<bool> m_isBlack; ///< modules of the code, row after row from the top
};

} // namespace tessik::simulate
