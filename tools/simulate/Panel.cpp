#include "simulate/Panel.h"

#include "platform/math/Angle.h"
#include "simulate/Random.h"

#include <Eigen/Geometry>
#include <qrencode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace tessik::simulate {
namespace {

// Millimetres from the centre of the code, y up, as panels of version 6 are made.
constexpr double kCodeHalfSide = 41.0;
constexpr double kLabelHalfSide = 55.0; ///< white around the code, as wide as decoders need
constexpr std::array<PanelPrint, 2> kPrints = {{{70.5, 162.4, 45.9}, {77.9, 182.9, 51.7}}};
constexpr double kFrameHalfWidth = 62.0;
constexpr double kFrameTop = 62.0;
constexpr double kFrameBottom = -193.0;
constexpr double kMiddleY = 0.5 * (kFrameTop + kFrameBottom);
/// Half the frame's diagonal: the panel fits into the image at any angle.
constexpr double kReachMm = 142.0;
constexpr double kReachShare = 0.90; ///< of the image's smaller half side

// The coded line: wavelength in nm and reflectance at its ends.
constexpr double kFirstNm = 400.0;
constexpr double kFirst = 0.543;
constexpr double kLastNm = 880.0;
constexpr double kLast = 0.512;

constexpr double kWhite = 0.80;
constexpr double kBlack = 0.04;
/// The ground: grains of any reflectance between.
constexpr double kGrainMm = 6.0;
constexpr double kDarkestGrain = 0.04;
constexpr double kBrightestGrain = 0.30;

/// Along a side of a pixel. A pixel sees the mean over its parts.
constexpr int kSubpixels = 4;

constexpr std::uint64_t kViewPurpose = 0x9a4e1;
constexpr std::uint64_t kGrainPurpose = 0x64a14;

/// Of an image, px. In a smaller one the panel lies along the longer side, so that it is large
/// enough for its code to be read.
constexpr double kSmallHalfSide = 100.0;
constexpr double kMostAskew = 0.26; ///< rad

void layAlong(Random& random, PanelView& view) {
    const bool isWide = view.width >= view.height;
    const double turn = random.below(2) == 0 ? 0.0 : kPi;
    view.angle = turn + (isWide ? 0.5 * kPi : 0.0) + random.uniform(-kMostAskew, kMostAskew);
    const auto reach = [angle = view.angle](double across, double along) {
        return across * std::abs(std::cos(angle)) + along * std::abs(std::sin(angle));
    };
    constexpr double kHalfLength = 0.5 * (kFrameTop - kFrameBottom);
    const double halfWidth = 0.5 * static_cast<double>(view.width);
    const double halfHeight = 0.5 * static_cast<double>(view.height);
    view.pixelsPerMm = kReachShare * std::min(halfWidth / reach(kFrameHalfWidth, kHalfLength),
                                              halfHeight / reach(kHalfLength, kFrameHalfWidth));
}

struct CodeDeleter {
    void operator()(QRcode* code) const { QRcode_free(code); }
};

} // namespace

Panel::Panel(std::uint64_t seed) : m_seed(seed), m_print(kPrints[seed % kPrints.size()]) {
    std::array<char, 40> serial{};
    std::snprintf(serial.data(),
                  serial.size(),
                  "RP06-%08u-SM",
                  static_cast<unsigned>(24000000 + seed % 1000000));
    m_serial = serial.data();
    std::array<char, 40> digits{};
    std::snprintf(digits.data(),
                  digits.size(),
                  "_%04.0f%03.0f%04.0f%03.0f",
                  kFirstNm,
                  1000.0 * kFirst,
                  kLastNm,
                  1000.0 * kLast);
    const std::string text = m_serial + digits.data();
    const std::unique_ptr<QRcode, CodeDeleter> code(
        QRcode_encodeString(text.c_str(), 0, QR_ECLEVEL_M, QR_MODE_8, 1));
    if (!code) {
        throw std::runtime_error("the panel's code cannot be made");
    }
    m_modules = code->width;
    for (int i = 0; i < m_modules * m_modules; ++i) {
        m_isBlack.push_back((code->data[i] & 1U) != 0);
    }
}

double Panel::reflectanceAt(double wavelengthNm) {
    return kFirst + (wavelengthNm - kFirstNm) / (kLastNm - kFirstNm) * (kLast - kFirst);
}

PanelView
Panel::view(std::size_t capture, std::size_t band, Eigen::Index width, Eigen::Index height) const {
    Random random({m_seed, kViewPurpose, capture});
    PanelView view;
    view.width = width;
    view.height = height;
    const double halfSide = 0.5 * static_cast<double>(std::min(width, height));
    view.pixelsPerMm = kReachShare * halfSide / kReachMm;
    view.angle = random.uniform(-kPi, kPi);
    if (halfSide < kSmallHalfSide) {
        layAlong(random, view);
    }
    const double free = 0.5 * (1.0 - kReachShare) * halfSide;
    const Eigen::Vector2d shift(random.uniform(-free, free), random.uniform(-free, free));
    Random lens({m_seed, kViewPurpose, band, 1});
    const Eigen::Vector2d parallax(lens.uniform(-free, free), lens.uniform(-free, free));
    const Eigen::Vector2d centre(0.5 * static_cast<double>(width) - 0.5,
                                 0.5 * static_cast<double>(height) - 0.5);
    view.middle = centre + shift + parallax;
    return view;
}

double Panel::valueAt(double x, double y, double grey) const {
    if (std::abs(x) < kCodeHalfSide && std::abs(y) < kCodeHalfSide) {
        const double perMm = m_modules / (2.0 * kCodeHalfSide);
        const auto column = static_cast<std::size_t>((x + kCodeHalfSide) * perMm);
        const auto row = static_cast<std::size_t>((kCodeHalfSide - y) * perMm);
        return m_isBlack[row * static_cast<std::size_t>(m_modules) + column] ? kBlack : kWhite;
    }
    if (std::abs(x) < kLabelHalfSide && std::abs(y) < kLabelHalfSide) {
        return kWhite;
    }
    if (std::abs(x) <= m_print.halfWidth && -y >= m_print.top && -y <= m_print.bottom) {
        return grey;
    }
    if (std::abs(x) < kFrameHalfWidth && y > kFrameBottom && y < kFrameTop) {
        return kBlack;
    }
    const auto grain = [](double mm) {
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::floor(mm / kGrainMm)));
    };
    constexpr double kLevels = 1024.0;
    const std::uint64_t lot = mixed({m_seed, kGrainPurpose, grain(x), grain(y)});
    const double share = static_cast<double>(lot % static_cast<std::uint64_t>(kLevels)) / kLevels;
    return kDarkestGrain + share * (kBrightestGrain - kDarkestGrain);
}

BandMatrix Panel::reflectance(double grey, const PanelView& view) const {
    const Eigen::Matrix2d mmFromPixels =
        Eigen::Rotation2Dd(-view.angle).toRotationMatrix() / view.pixelsPerMm;
    BandMatrix image(view.height, view.width);
    for (Eigen::Index row = 0; row < view.height; ++row) {
        for (Eigen::Index column = 0; column < view.width; ++column) {
            double sum = 0.0;
            for (int part = 0; part < kSubpixels * kSubpixels; ++part) {
                const auto offset = [](int index) { return (index + 0.5) / kSubpixels - 0.5; };
                const int subrow = part / kSubpixels;
                const Eigen::Vector2d place(static_cast<double>(column) + offset(part % kSubpixels),
                                            static_cast<double>(row) + offset(subrow));
                const Eigen::Vector2d mm = mmFromPixels * (place - view.middle);
                sum += valueAt(mm.x(), kMiddleY - mm.y(), grey);
            }
            image(row, column) = static_cast<float>(sum / (kSubpixels * kSubpixels));
        }
    }
    return image;
}

std::array<Eigen::Vector2d, 4> Panel::surface(const PanelView& view) const {
    const Eigen::Matrix2d pixelsFromMm =
        Eigen::Rotation2Dd(view.angle).toRotationMatrix() * view.pixelsPerMm;
    const auto place = [&](double x, double below) -> Eigen::Vector2d {
        return view.middle + pixelsFromMm * Eigen::Vector2d(x, kMiddleY + below);
    };
    return {place(-m_print.halfWidth, m_print.top),
            place(m_print.halfWidth, m_print.top),
            place(m_print.halfWidth, m_print.bottom),
            place(-m_print.halfWidth, m_print.bottom)};
}

} // namespace tessik::simulate
