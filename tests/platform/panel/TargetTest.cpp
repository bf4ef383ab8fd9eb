#include "platform/camera/TargetDetector.h"
#include "platform/image/Raster.h"
#include "platform/panel/Detectors.h"
#include "platform/panel/PanelCode.h"
#include "platform/panel/PanelSurface.h"
#include "platform/panel/TargetPicture.h"
#include "platform/text/Printable.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <gdal.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <memory>

namespace tessik::target {
namespace {

using Eigen::Vector2d;

struct GeometryCase {
    int version;
    double codeHalfSide; ///< mm
    double squareSide;
    Vector2d centre; ///< x right, y up
    std::size_t squares;
};

/// Corners around a centre, in the decoder's order: top left, bottom left, bottom right, top right.
Corners around(const Vector2d& centre, double halfSide) {
    return {centre + Vector2d(-halfSide, halfSide),
            centre + Vector2d(-halfSide, -halfSide),
            centre + Vector2d(halfSide, -halfSide),
            centre + Vector2d(halfSide, halfSide)};
}

TEST(PanelGeometry, theSquareOfEachVersionIsFoundThroughAPerspective) {
    Eigen::Matrix3d imageFromPanel;
    imageFromPanel << 1.4, 0.3, 620.0, 0.2, -1.5, 430.0, 3e-4, -2e-4, 1.0;
    const auto seen = [&imageFromPanel](Corners corners) {
        for (Vector2d& corner : corners) {
            corner = (imageFromPanel * corner.homogeneous()).hnormalized();
        }
        return corners;
    };
    for (const GeometryCase& c : {GeometryCase{1, 42.0, 76.2, {-143.2, 0.0}, 4},
                                  {2, 42.0, 76.2, {-143.2, 0.0}, 4},
                                  {3, 45.0, 50.0, {-145.8, 0.0}, 4},
                                  {4, 45.0, 50.0, {-145.8, 0.0}, 1},
                                  {5, 45.0, 50.0, {-145.8, 0.0}, 1},
                                  {6, 41.0, 41.0, {0.0, -114.0}, 1},
                                  {7, 41.0, 41.0, {0.0, -114.0}, 1}}) {
        const Corners code = seen(around(Vector2d::Zero(), c.codeHalfSide));
        Vector2d centre = c.centre;
        const std::vector<PanelSquare> squares = panelSquares(panelGeometry(c.version), code);
        EXPECT_EQ(squares.size(), c.squares) << c.version;
        for (const PanelSquare& square : squares) {
            const Corners whole = seen(around(centre, 0.5 * c.squareSide));
            const Corners inner = seen(around(centre, 0.4 * c.squareSide));
            ASSERT_EQ(square.whole.size(), 4U);
            for (std::size_t i = 0; i < 4; ++i) {
                EXPECT_NEAR((square.whole[i] - whole[i]).norm(), 0.0, 1e-6) << c.version;
                EXPECT_NEAR((square.inner[i] - inner[i]).norm(), 0.0, 1e-6) << c.version;
            }
            centre = {-centre.y(), centre.x()};
        }
    }
    const Corners onALine(4, Vector2d(3.0, 3.0));
    EXPECT_TRUE(panelSquares(panelGeometry(6), onALine).empty());
}

struct DigitsCase {
    const char* text;
    const char* serial; ///< null = no panel's code
    bands_t bands;
    std::vector<double> reflectance;
    const char* reason; ///< its beginning
};

TEST(PanelCode, theDigitsAreAStraightLineOverTheWavelength) {
    const bands_t red = {{650.0, 10.0}};
    const DigitsCase cases[] = {
        {"RP02-1603036-SC", "RP02-1603036-SC", red, {}, ""},
        {"RP04-1901231-SC_04005291000523", "RP04-1901231-SC", red, {0.5265}, ""},
        {"RP04-1234567-AB-04005000900600", "RP04-1234567-AB", red, {0.55}, ""},
        {"RP04-1234567-AB04005000900600", "RP04-1234567-AB", red, {0.55}, ""},
        {"RP06-12345678-AB_04005000900600",
         "RP06-12345678-AB",
         {{400.0, 1.0}, {900.0, 1.0}, {350.0, 1.0}, {1000.0, 1.0}},
         {0.5, 0.6, 0.49, 0.62},
         ""},
        {"RP06-1234567-AB_09006000400500", "RP06-1234567-AB", red, {0.55}, ""},
        {"RP06-1234567-AB_04005000900600", "RP06-1234567-AB", {{299.0, 1.0}}, {}, "states no refl"},
        {"RP06-1234567-AB_04005000900600", "RP06-1234567-AB", {{11000.0, 1.0}}, {}, "states no r"},
        {"RP06-1234567-AB_04005000900600", "RP06-1234567-AB", {{NAN, 1.0}}, {}, "states no reflec"},
        {"RP06-1234567-AB_04005000900600", "RP06-1234567-AB", {}, {}, "states its reflectance by"},
        {"RP06-1234567-AB_04009900500999",
         "RP06-1234567-AB",
         {{450.0, 1.0}, {590.0, 1.0}},
         {},
         "states a reflectance that is not between 0 and 1"},
        {"RP06-1234567-AB_04000000900000", "RP06-1234567-AB", red, {}, "states a reflectance that"},
        {"RP06-1234567-AB_04005000400600",
         "RP06-1234567-AB",
         red,
         {},
         "states no reflectance that"},
        {"RP06-1234567-AB", "RP06-1234567-AB", red, {}, "states no reflectance that can be read"},
        {"RP06-1234567-AB_", "RP06-1234567-AB", red, {}, "states no reflectance that can be read"},
        {"RP06-1234567-AB_0400500090060", "RP06-1234567-AB", red, {}, "states no reflectance that"},
        {"RP06-1234567-AB__04005000900600", nullptr, red, {}, ""},
        {"RP06-1234567-AB_0400500090060X", nullptr, red, {}, ""},
        {"https://example.com/RP06-1234567-AB", nullptr, red, {}, ""},
        {"RP6-1234567-AB", nullptr, red, {}, ""},
        {"", nullptr, red, {}, ""}};
    for (const DigitsCase& c : cases) {
        const std::optional<PanelCode> code = parsePanelCode(c.text);
        ASSERT_EQ(code.has_value(), c.serial != nullptr) << c.text;
        if (!code) {
            continue;
        }
        EXPECT_EQ(code->serial, c.serial);
        const PanelReflectance reflectance = reflectanceOf(*code, c.bands);
        EXPECT_EQ(reflectance.reason.rfind(c.reason, 0), 0U) << c.text << reflectance.reason;
        EXPECT_EQ(reflectance.reason.empty(), *c.reason == '\0') << c.text;
        ASSERT_EQ(reflectance.values.size(), c.reflectance.size()) << c.text;
        for (std::size_t i = 0; i < c.reflectance.size(); ++i) {
            EXPECT_NEAR(reflectance.values[i], c.reflectance[i], 1e-12) << c.text;
        }
    }
}

/// Twice the signed area; positive when clockwise as the image is looked at.
double turn(const image::Ring& ring) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
        sum += static_cast<double>(ring[i].x()) * ring[i + 1].y() -
               static_cast<double>(ring[i + 1].x()) * ring[i].y();
    }
    return sum;
}

TEST(ShownText, whatCouldActOnATerminalOrIsNoTextIsEscaped) {
    const std::pair<std::string, std::string> cases[] = {
        {"RP06-1 ~", "RP06-1 ~"},
        {"Grün 面 \xf0\x9f\x8c\xb1", "Grün 面 \xf0\x9f\x8c\xb1"},
        {"a\x1b[2J\r\n\x7f", "a\\x1b[2J\\x0d\\x0a\\x7f"},
        {std::string("\0\\", 2), "\\x00\\x5c"},
        {"\xc2\x9b"
         "2J",
         "\\xc2\\x9b"
         "2J"}, // begins a command on a terminal of 8 bits
        {"\xe2\x80\xae"
         "bad",
         "\\xe2\\x80\\xae"
         "bad"},                             // turns the direction of writing
        {"\xe2\x80\xa8", "\\xe2\\x80\\xa8"}, // ends a line
        {"\xff\xc3", "\\xff\\xc3"},
        {"\xc0\xaf\xed\xa0\x80", "\\xc0\\xaf\\xed\\xa0\\x80"}, // too long; half of a pair
        {std::string(60, 'x'), std::string(40, 'x') + "..."},
        {std::string(39, 'x') + "ü", std::string(39, 'x') + "ü"},
        {std::string(39, 'x') + "üü", std::string(39, 'x') + "ü..."}};
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(text::quoted(text), "\"" + shown + "\"");
    }
}

struct RecordCase {
    const char* what;
    RecordedTarget record;
    bool isFound;
    std::vector<double> reflectance;
    std::vector<std::string> remarks;
};

TEST(CameraRecord, cornersInAnyOrderGiveAClockwiseRegion) {
    const std::vector<Vector2d> square = {{2, 3}, {8.4, 2.6}, {8, 9}, {2, 9}};
    const RecordCase cases[] = {
        {"in turn", {true, square, {0.5}}, true, {0.5}, {}},
        {"the other way", {true, {square.rbegin(), square.rend()}, {}}, true, {}, {}},
        {"crosswise", {true, {square[0], square[1], square[3], square[2]}, {}}, true, {}, {}},
        {"no target", {false, square, {0.5}}, false, {}, {}},
        {"no corners",
         {true, {}, {}},
         false,
         {},
         {"the camera records a target without saying"
          " where it is"}},
        {"outside",
         {true, {{0, 0}, {20, 0}, {0, 9}}, {}},
         false,
         {},
         {"the camera records a target"
          " that is not inside the"
          " image"}},
        {"on a line",
         {true, {{0, 0}, {5, 5}, {9, 9}}, {}},
         false,
         {},
         {"the camera records a"
          " target whose corners"
          " enclose no surface"}},
        {"percent",
         {true, square, {50.0}},
         true,
         {},
         {"the camera records a target whose"
          " reflectance is not between 0 and 1; not"
          " used"}}};
    for (const RecordCase& c : cases) {
        InputImage image;
        image.exif = test::plainExif(20, 10);
        image.exif.recordedTarget = c.record;
        const Detection found = targetDetectors().at(0)->find(image, {test::ramp(10, 20)});
        EXPECT_EQ(found.remarks, c.remarks) << c.what;
        ASSERT_EQ(found.targets.size(), c.isFound ? 1U : 0U) << c.what;
        if (c.isFound) {
            EXPECT_EQ(found.targets[0].detector, "camera record");
            EXPECT_TRUE(found.targets[0].id.isEmpty());
            EXPECT_EQ(found.targets[0].region.size(), 5U) << c.what;
            EXPECT_EQ(turn(found.targets[0].region), 2.0 * 6.0 * 6.0) << c.what;
            EXPECT_EQ(found.targets[0].reflectance, c.reflectance) << c.what;
        }
    }
}

TEST(TargetPicture, isWrittenWholeOrNotAtAll) {
    const test::TemporaryFolder folder;
    DetectedTarget target;
    target.region = {{4, 4}, {12, 4}, {12, 12}, {4, 12}, {4, 4}};
    const std::string file = folder.file("a.png");
    writeTargetPicture(file, test::ramp(20, 1900), target, {"Blue", std::string(200, 'x')});
    std::ifstream stream(file, std::ios::binary);
    std::string head(24, '\0');
    stream.read(head.data(), 24);
    EXPECT_EQ(head.substr(1, 3), "PNG");
    // Big-endian width and height: a third of the band (633 x 6), and below it 12 px of margin and
    // 24 a line: one, and four of 51 characters at most.
    EXPECT_EQ(head.substr(16), std::string("\0\0\x02\x79\0\0\0\x8a", 8));
    EXPECT_THROW(writeTargetPicture(folder.file("no/a.png"), test::ramp(2, 3), target, {}),
                 image::Error);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

using Color = std::array<int, 3>;
using Spot = std::array<int, 2>; ///< column, row

/// The colours of a picture of a band and a target.
class Shown {
public:
    Shown(const BandMatrix& band,
          const DetectedTarget& target,
          const std::vector<std::string>& caption) {
        const test::TemporaryFolder folder;
        writeTargetPicture(folder.file("a.png"), band, target, caption);
        m_picture.reset(GDALOpen(folder.file("a.png").c_str(), GA_ReadOnly));
    }
    [[nodiscard]] Color at(const Spot& spot) const {
        std::array<std::uint8_t, 3> color = {};
        EXPECT_EQ(GDALDatasetRasterIO(m_picture.get(),
                                      GF_Read,
                                      spot[0],
                                      spot[1],
                                      1,
                                      1,
                                      color.data(),
                                      1,
                                      1,
                                      GDT_Byte,
                                      3,
                                      nullptr,
                                      0,
                                      0,
                                      1),
                  CE_None);
        return {color[0], color[1], color[2]};
    }

private:
    std::unique_ptr<void, decltype(&GDALClose)> m_picture{nullptr, &GDALClose};
};

constexpr Color kBlack = {0, 0, 0};
constexpr Color kWhite = {255, 255, 255};
constexpr Color kBlue = {60, 160, 255};
constexpr Color kOrange = {255, 140, 0};

image::Ring ringAround(int left, int top, int right, int bottom) {
    return {{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}};
}

TEST(TargetPicture, showsTheBandTheOutlinesWhereTheyLieAndTheCaptionBelow) {
    BandMatrix band(20, 450); // each pixel becomes 2 x 2
    for (Eigen::Index r = 0; r < band.rows(); ++r) {
        for (Eigen::Index c = 0; c < band.cols(); ++c) {
            band(r, c) = (c >= 225) != (r >= 15) ? 300.0F : 20.0F;
        }
    }
    DetectedTarget target;
    target.code = ringAround(10, 4, 20, 12);
    target.region = ringAround(100, 5, 120, 11);
    const Shown shown(band, target, {"--", "ü"});
    // Lines are two pixels wide and begin on the second pixel of the band's.
    const std::vector<std::pair<Color, std::vector<Spot>>> cases = {
        {kBlack, {{0, 0}, {449, 29}, {450, 30}, {899, 39}}},
        {kWhite, {{450, 0}, {899, 29}, {449, 30}, {0, 39}}},
        {kBlue, {{21, 9}, {22, 17}, {41, 17}, {42, 26}, {30, 9}, {30, 10}, {30, 25}, {30, 26}}},
        {kBlack, {{20, 17}, {23, 17}, {40, 17}, {43, 17}, {30, 8}, {30, 11}, {30, 24}, {30, 27}}},
        {kOrange, {{201, 11}, {202, 17}, {241, 17}, {242, 24}, {220, 11}, {220, 24}}},
        {kBlack, {{200, 17}, {203, 17}, {240, 17}, {243, 17}, {220, 10}, {220, 13}}},
        // The dash is the fourth of the rows of a letter, the mark of what is not ASCII has one
        // pixel there.
        {kWhite, {{6, 52}, {15, 53}, {18, 52}, {27, 53}, {12, 76}, {13, 77}}},
        {kBlack, {{5, 52}, {16, 52}, {17, 53}, {28, 52}, {6, 51}, {6, 54}, {11, 76}, {14, 77}}}};
    for (const auto& [color, spots] : cases) {
        for (const Spot& spot : spots) {
            EXPECT_EQ(shown.at(spot), color) << spot[0] << " " << spot[1];
        }
    }
}

TEST(TargetPicture, ofALargeBandShowsMeans) {
    BandMatrix band(4, 1800); // each pixel is one of 2 x 2
    for (Eigen::Index c = 0; c < band.cols(); ++c) {
        band.col(c).setConstant(c % 2 == 0 ? 0.0F : 100.0F);
    }
    DetectedTarget target;
    target.region = ringAround(100, 0, 200, 3);
    const Shown shown(band, target, {});
    EXPECT_EQ(shown.at({0, 0}), (Color{127, 127, 127}));
    EXPECT_EQ(shown.at({50, 1}), kOrange);
    EXPECT_EQ(shown.at({49, 1}), (Color{127, 127, 127}));
    EXPECT_EQ(shown.at({101, 1}), kOrange);
}

} // namespace
} // namespace tessik::target
