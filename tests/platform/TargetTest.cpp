#include "platform/image/Raster.h"
#include "platform/target/PanelCode.h"
#include "platform/target/PanelGeometry.h"
#include "platform/target/TargetDetector.h"
#include "platform/target/TargetPicture.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <boost/geometry/geometry.hpp>
#include <gtest/gtest.h>
#include <qrencode.h>

#include <cmath>
#include <fstream>
#include <random>

namespace tessik::target {
namespace {

using Eigen::Vector2d;

constexpr double kDark = 4800.0;

struct GeometryCase {
    int version;
    double codeHalfSide; ///< mm
    double squareSide;
    Vector2d centre; ///< x right, y up
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
    for (const GeometryCase& c : {GeometryCase{1, 42.0, 76.2, {-143.2, 0.0}},
                                  {2, 42.0, 76.2, {-143.2, 0.0}},
                                  {3, 45.0, 50.0, {-145.8, 0.0}},
                                  {5, 45.0, 50.0, {-145.8, 0.0}},
                                  {6, 41.0, 41.0, {0.0, -114.0}},
                                  {7, 41.0, 41.0, {0.0, -114.0}}}) {
        const Corners code = seen(around(Vector2d::Zero(), c.codeHalfSide));
        Vector2d centre = c.centre;
        for (const PanelSquare& square : panelSquares(panelGeometry(c.version), code)) {
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
    EXPECT_TRUE(panelSquares(panelGeometry(6), onALine)[0].whole.empty());
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

/// Where a code lies in an image, and the panel's grey surface relative to it.
struct Label {
    std::string text;
    Vector2d centre; ///< px
    double angle = 0.0;
    Vector2d surface = {0.0, -116.4}; ///< mm, y up
    bool hasSurface = true;
};

/// Raw values of uneven ground with black, white and grey of panels of version 6 on it, a pixel a
/// millimetre.
class Ground {
public:
    Ground(Eigen::Index rows, Eigen::Index cols) : m_band(rows, cols) {
        std::mt19937 random(1);
        for (float& value : m_band.reshaped()) {
            value = static_cast<float>(kDark + 3000.0 + static_cast<double>(random() % 8000));
        }
    }

    Ground& draw(const Label& label) {
        const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
            QRcode_encodeString(label.text.c_str(), 0, QR_ECLEVEL_M, QR_MODE_8, 1), QRcode_free);
        for (Eigen::Index row = 0; row < m_band.rows(); ++row) {
            for (Eigen::Index column = 0; column < m_band.cols(); ++column) {
                const Vector2d offset =
                    Vector2d(static_cast<double>(column), static_cast<double>(row)) - label.centre;
                Vector2d mm = Eigen::Rotation2Dd(-label.angle) * offset;
                mm.y() = -mm.y();
                if (mm.cwiseAbs().maxCoeff() < 41.0) {
                    const auto module = [&code](double x) {
                        return static_cast<int>((x + 41.0) / 82.0 * code->width);
                    };
                    const int at = module(-mm.y()) * code->width + module(mm.x());
                    m_band(row, column) = (code->data[at] & 1) != 0 ? 7000.0F : 48000.0F;
                } else if (mm.cwiseAbs().maxCoeff() < 55.0) {
                    m_band(row, column) = 48000.0F;
                } else if (label.hasSurface && (mm - label.surface).cwiseAbs().maxCoeff() < 46.0) {
                    m_band(row, column) = 30000.0F + static_cast<float>((row * 7 + column) % 400);
                }
            }
        }
        return *this;
    }
    /// Even, and darker than any panel.
    Ground& shade(Eigen::Index row, Eigen::Index column, Eigen::Index side) {
        m_band.block(row, column, side, side).setConstant(static_cast<float>(kDark + 1500.0));
        return *this;
    }

    [[nodiscard]] Detection find(std::size_t detector = 1) const {
        InputImage image;
        image.exif = test::plainExif(static_cast<std::uint64_t>(m_band.cols()),
                                     static_cast<std::uint64_t>(m_band.rows()));
        image.exif.bands = {{650.0, 10.0}};
        image.exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, kDark)};
        return targetDetectors().at(detector)->find(image, {m_band});
    }

private:
    BandMatrix m_band;
};

/// Twice the signed area; positive when clockwise as the image is looked at.
double turn(const image::Ring& ring) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
        sum += static_cast<double>(ring[i].x()) * ring[i + 1].y() -
               static_cast<double>(ring[i + 1].x()) * ring[i].y();
    }
    return sum;
}

/// Expects a region around the surface's centre, far from its edges: they are 46 px away, and a
/// square of 33 px is measured. The decoder's corners are whole pixels 41 px from the code's
/// centre, the surface is 116 px from it, and the square 2 px nearer.
void expectRegion(const DetectedTarget& target, const Vector2d& centre) {
    ASSERT_EQ(target.region.size(), 5U);
    EXPECT_TRUE(boost::geometry::equals(target.region.front(), target.region.back()));
    Vector2d mean = Vector2d::Zero();
    for (std::size_t i = 0; i < 4; ++i) {
        mean += 0.25 * Vector2d(target.region[i].x(), target.region[i].y());
    }
    EXPECT_NEAR((mean - centre).norm(), 0.0, 8.0);
    EXPECT_NEAR(turn(target.region), 2.0 * 32.8 * 32.8, 400.0);
}

constexpr auto kText = "RP06-1234567-AB_04005000900600";

TEST(QrPanel, theSurfaceIsFoundOnWhicheverSideOfTheCodeItLies) {
    for (int side = 0; side < 4; ++side) {
        for (const double angle : {0.0, 0.5, 2.2, 3.1, -1.4}) {
            Label label{kText, {250.0, 240.0}, angle};
            label.surface = Eigen::Rotation2Dd(side * M_PI / 2.0) * label.surface;
            // Beside the code, shade that is more even than any panel.
            const Detection found = Ground(480, 500).shade(300, 0, 180).draw(label).find();
            SCOPED_TRACE(testing::Message() << "side " << side << " angle " << angle);
            ASSERT_EQ(found.targets.size(), 1U);
            const DetectedTarget& target = found.targets[0];
            EXPECT_TRUE(found.remarks.empty());
            EXPECT_EQ(target.detector, "QR panel");
            EXPECT_EQ(target.type, TargetType::Unknown);
            EXPECT_EQ(target.id, "RP06-1234567-AB");
            ASSERT_EQ(target.reflectance.size(), 1U);
            EXPECT_NEAR(target.reflectance[0], 0.55, 1e-12);
            const Vector2d down = Vector2d(label.surface.x(), -label.surface.y());
            expectRegion(target, label.centre + Eigen::Rotation2Dd(angle) * down);
            EXPECT_NEAR(turn(target.code), 2.0 * 82.0 * 82.0, 900.0);
        }
    }
}

struct SceneCase {
    const char* what;
    Ground ground;
    std::size_t targets;
    std::vector<std::string> remarks;
};

TEST(QrPanel, whatIsNoUsablePanelIsLeftOutAndSaid) {
    const Vector2d left(120.0, 120.0);
    const Vector2d right(420.0, 120.0);
    const std::string other = "RP06-7654321-AB_04005000900600";
    const SceneCase cases[] = {
        {"no code", Ground(360, 560), 0, {}},
        {"even image", Ground(360, 560).shade(0, 0, 360), 0, {}},
        {"two panels", Ground(360, 560).draw({kText, left}).draw({other, right}), 2, {}},
        {"one text twice", Ground(360, 560).draw({kText, left}).draw({kText, right}), 1, {}},
        {"foreign code beside a panel",
         Ground(360, 560).draw({kText, left}).draw({"hello\x1b[2J", right}),
         1,
         {"a QR code that is no panel's: \"hello?[2J\""}},
        {"long text",
         Ground(360, 560).draw({std::string(60, 'x'), left}),
         0,
         {"a QR code that is no panel's: \"" + std::string(40, 'x') + "...\""}},
        {"surfaces outside the image",
         Ground(130, 130).draw({kText, {65.0, 65.0}}),
         0,
         {"panel RP06-1234567-AB does not show its grey surface inside the image"}},
        {"no surface, but even shade",
         Ground(360, 300).shade(180, 60, 180).draw({kText, left, 0.0, {0, 0}, false}),
         0,
         {"panel RP06-1234567-AB does not show its grey surface inside the image"}}};
    for (const SceneCase& c : cases) {
        // A code without its panel may have ground beside it that passes for one: here it does not.
        const Detection found = c.ground.find();
        EXPECT_EQ(found.targets.size(), c.targets) << c.what;
        EXPECT_EQ(found.remarks, c.remarks) << c.what;
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

TEST(QrPanel, aRealPanelIsFoundInAllBands) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    for (int capture = 0; capture < 2; ++capture) {
        for (int b = 1; b <= 5; ++b) {
            const std::string name =
                "rededge/IMG_000" + std::to_string(capture) + "_" + std::to_string(b) + ".tif";
            SCOPED_TRACE(name);
            const BandImage raw = image::Raster::open((*samples / name).string()).read();
            const Detection found = targetDetectors().at(1)->find({}, raw);
            EXPECT_TRUE(found.remarks.empty());
            ASSERT_EQ(found.targets.size(), capture == 0 ? 1U : 0U);
            if (capture != 0) {
                continue;
            }
            EXPECT_EQ(found.targets[0].id, "RP02-1603036-SC");
            EXPECT_TRUE(found.targets[0].reflectance.empty());
            const image::RegionStats stats = image::statsForRegion(
                raw[0],
                {{0, 0},
                 {static_cast<int>(raw[0].cols()) - 1, static_cast<int>(raw[0].rows()) - 1}},
                found.targets[0].region);
            EXPECT_GT(stats.validCount, 7000);
            EXPECT_LT(stats.stdDev / stats.mean, 0.035);
            EXPECT_GT(stats.mean, 40000.0); // nothing else is as bright and as even
        }
    }
}

} // namespace
} // namespace tessik::target
