#include "platform/panel/TargetPicture.h"

#include "platform/image/Png.h"
#include "platform/panel/Glyphs.h"
#include "platform/panel/Stretch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tessik::target {
namespace {

using image::Picture;
using Color = std::array<std::uint8_t, 3>;

constexpr Color kCodeColor = {60, 160, 255};
constexpr Color kRegionColor = {255, 140, 0};
constexpr Color kTextColor = {255, 255, 255};

constexpr Eigen::Index kWidest = 900;
constexpr Percentiles kShown = {0.002, 0.998};

constexpr int kTextScale = 2; ///< pixels a pixel of the font
constexpr int kAdvance = kTextScale * (kGlyphWidth + 1);
constexpr int kLineHeight = kTextScale * (kGlyphHeight + 3);
constexpr int kMargin = 6;

void put(Picture& picture, int x, int y, const Color& color) {
    if (x >= 0 && y >= 0 && x < picture.width && y < picture.height) {
        const auto at = 3 * (static_cast<std::ptrdiff_t>(y) * picture.width + x);
        std::copy(color.begin(), color.end(), picture.rgb.begin() + at);
    }
}

/// How the band's pixels become the picture's: `reduce` of them one, or one `enlarge` of them.
struct Zoom {
    Eigen::Index reduce = 1;
    Eigen::Index enlarge = 1;

    /// Of a position in the band.
    [[nodiscard]] double operator()(int position) const {
        return (position + 0.5) * static_cast<double>(enlarge) / static_cast<double>(reduce) - 0.5;
    }
};

Zoom zoomFor(const BandMatrix& band) {
    const Eigen::Index width = std::max<Eigen::Index>(1, band.cols());
    return {(width + kWidest - 1) / kWidest, std::max<Eigen::Index>(1, kWidest / width)};
}

/// The band, and room for the caption below, black.
Picture grey(const BandMatrix& band, const Zoom& zoom, int captionHeight) {
    const Bytes levels = stretched(band, rangeOf(band, kShown));
    Picture picture;
    picture.width = static_cast<int>(band.cols() / zoom.reduce * zoom.enlarge);
    const auto height = static_cast<int>(band.rows() / zoom.reduce * zoom.enlarge);
    picture.height = height + captionHeight;
    picture.rgb.resize(3 * static_cast<std::size_t>(picture.width) *
                       static_cast<std::size_t>(picture.height));
    for (int y = 0; y < height; ++y) {
        const Eigen::Index row = y / zoom.enlarge * zoom.reduce;
        for (int x = 0; x < picture.width; ++x) {
            const auto level = static_cast<std::uint8_t>(
                levels.block(row, x / zoom.enlarge * zoom.reduce, zoom.reduce, zoom.reduce)
                    .cast<double>()
                    .mean());
            put(picture, x, y, {level, level, level});
        }
    }
    return picture;
}

/// Two pixels wide.
void drawLine(Picture& picture, double x0, double y0, double x1, double y1, const Color& color) {
    const int steps = 1 + static_cast<int>(std::max(std::abs(x1 - x0), std::abs(y1 - y0)));
    for (int i = 0; i <= steps; ++i) {
        const double share = static_cast<double>(i) / steps;
        const auto x = static_cast<int>(std::lround(x0 + share * (x1 - x0)));
        const auto y = static_cast<int>(std::lround(y0 + share * (y1 - y0)));
        for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
            put(picture, x + dx, y + dy, color);
        }
    }
}

void drawRing(Picture& picture, const image::Ring& ring, const Zoom& zoom, const Color& color) {
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
        drawLine(picture,
                 zoom(ring[i].x()),
                 zoom(ring[i].y()),
                 zoom(ring[i + 1].x()),
                 zoom(ring[i + 1].y()),
                 color);
    }
}

void drawText(Picture& picture, int left, int top, const std::string& text) {
    for (const char c : text) {
        for (int y = 0; y < kTextScale * kGlyphHeight; ++y) {
            for (int x = 0; x < kTextScale * kGlyphWidth; ++x) {
                if (isInk(c, x / kTextScale, y / kTextScale)) {
                    put(picture, left + x, top + y, kTextColor);
                }
            }
        }
        left += kAdvance;
    }
}

/// Of several bytes that stand for one character, one stays, which shows as "?".
std::string oneByteACharacter(const std::string& text) {
    std::string result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result), [](char c) {
        constexpr unsigned kContinuationMask = 0xC0;
        constexpr unsigned kContinuation = 0x80;
        return (static_cast<unsigned char>(c) & kContinuationMask) != kContinuation;
    });
    return result;
}

std::vector<std::string> wrapped(const std::vector<std::string>& lines, Eigen::Index width) {
    const auto most =
        static_cast<std::size_t>(std::max<Eigen::Index>(1, (width - kMargin - kMargin) / kAdvance));
    std::vector<std::string> result;
    for (const std::string& line : lines) {
        const std::string text = oneByteACharacter(line);
        std::size_t at = 0;
        do {
            result.push_back(text.substr(at, most));
            at += most;
        } while (at < text.size());
    }
    return result;
}

} // namespace

void writeTargetPicture(const std::string& path,
                        const BandMatrix& band,
                        const DetectedTarget& target,
                        const std::vector<std::string>& caption) {
    const Zoom zoom = zoomFor(band);
    const std::vector<std::string> lines =
        wrapped(caption, band.cols() / zoom.reduce * zoom.enlarge);
    const int captionHeight = 2 * kMargin + kLineHeight * static_cast<int>(lines.size());
    Picture picture = grey(band, zoom, captionHeight);
    drawRing(picture, target.code, zoom, kCodeColor);
    drawRing(picture, target.region, zoom, kRegionColor);
    int top = picture.height - captionHeight + kMargin;
    for (const std::string& line : lines) {
        drawText(picture, kMargin, top, line);
        top += kLineHeight;
    }
    image::writePng(path, picture);
}

} // namespace tessik::target
