#include "platform/panel/TargetPicture.h"

#include "platform/image/Png.h"
#include "platform/panel/Levels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace tessik::target {
namespace {

using image::Picture;
using Color = std::array<std::uint8_t, 3>;

constexpr Color kCodeColor = {60, 160, 255};
constexpr Color kRegionColor = {255, 140, 0};
constexpr Color kTextColor = {255, 255, 255};

constexpr Eigen::Index kWidest = 900;
constexpr Percentiles kShown = {0.002, 0.998};

// A font for captions: without one, text would need a window system's libraries and installed
// fonts.
constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 9; ///< two of them below the line, for g, j, p, q, y

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

    /// Where a position in the band lies in the picture.
    [[nodiscard]] double operator()(int position) const {
        return (position + 0.5) * static_cast<double>(enlarge) / static_cast<double>(reduce) - 0.5;
    }
};

Zoom zoomFor(const BandMatrix& band) {
    const Eigen::Index width = std::max<Eigen::Index>(1, band.cols());
    return {(width + kWidest - 1) / kWidest, std::max<Eigen::Index>(1, kWidest / width)};
}

/// Draws the band, and leaves black room for the caption below.
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

/// Draws a line that is two pixels wide.
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

constexpr char kFirstGlyph = ' ';

/// There is one for each character from the blank to "~": the rows from the top, each a digit of
/// 0-9, A-V whose five bits are the pixels from the left. Rows that are not given are empty.
constexpr std::array<std::string_view, 95> kGlyphs = {
    "0000000", "4444404",   "AAA0000", "AAVAVAA",   "4FKE5U4",   "OP248J3",   "CIK8LID",
    "4400000", "2488842",   "8422248", "04LEL40",   "044V440",   "00000CC48", "000V000",
    "00000CC", "01248G0",   "EHJLPHE", "4C4444E",   "EH1248V",   "V2421HE",   "26AIV22",
    "VGU11HE", "68GUHHE",   "V124888", "EHHEHHE",   "EHHF12C",   "0CC0CC0",   "0CC0CC48",
    "248G842", "00V0V00",   "8421248", "EH12404",   "EH1DLLE",   "EHHVHHH",   "UHHUHHU",
    "EHGGGHE", "SIHHHIS",   "VGGUGGV", "VGGUGGG",   "EHGNHHF",   "HHHVHHH",   "E44444E",
    "72222IC", "HIKOKIH",   "GGGGGGV", "HRLLHHH",   "HHPLJHH",   "EHHHHHE",   "UHHUGGG",
    "EHHHLID", "UHHUKIH",   "FGGE11U", "V444444",   "HHHHHHE",   "HHHHHA4",   "HHHLLLA",
    "HHA4AHH", "HHHA444",   "V1248GV", "E88888E",   "0G84210",   "E22222E",   "4AH0000",
    "000000V", "8420000",   "00E1FHF", "GGMPHHU",   "00EGGHE",   "11DJHHF",   "00EHVGE",
    "698S888", "00FHHHF1E", "GGMPHHH", "40C444E",   "2062222IC", "GGIKOKI",   "C44444E",
    "00QLLHH", "00MPHHH",   "00EHHHE", "00UHHHUGG", "00FHHHF11", "00MPGGG",   "00FGE1U",
    "88S8896", "00HHHJD",   "00HHHA4", "00HHLLA",   "00HA4AH",   "00HHHHF1E", "00V248V",
    "2448442", "4444444",   "8442448", "008L200"};

std::string_view glyphOf(char character) {
    const auto place = static_cast<std::size_t>(static_cast<unsigned char>(character)) -
                       static_cast<std::size_t>(kFirstGlyph);
    constexpr std::size_t kQuestionMark = '?' - kFirstGlyph;
    return kGlyphs[place < kGlyphs.size() ? place : kQuestionMark];
}

/// Whether a character of printable ASCII is drawn at a place, (0, 0) at its top left. All other
/// characters look like "?".
bool isInk(char character, int x, int y) {
    const std::string_view glyph = glyphOf(character);
    if (x < 0 || x >= kGlyphWidth || y < 0 || y >= static_cast<int>(glyph.size())) {
        return false;
    }
    const char digit = glyph[static_cast<std::size_t>(y)];
    const int row = digit <= '9' ? digit - '0' : digit - 'A' + 10;
    return ((row >> (kGlyphWidth - 1 - x)) & 1) != 0;
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

/// Keeps one of several bytes that stand for one character; it shows as "?".
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
