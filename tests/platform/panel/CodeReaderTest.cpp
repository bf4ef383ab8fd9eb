#include "platform/panel/CodeReader.h"

#include "platform/panel/PanelScene.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace tessik::target {
namespace {

using Eigen::Vector2d;

constexpr auto kPanelText = "RP04-1901231-SC_04005291000523"; // 25 modules a side

struct CodeCase {
    const char* what;
    double side; ///< px
    double ink = 8000.0;
    double paper = 45000.0;
    double noise = 500.0;
    int blur = 0;
    double ground = 0.0; ///< of an even one; 0 = uneven
    Vector2d lean = {0.0, 0.0};
};

void expectCode(const Code& code, const DrawnPanel& panel) {
    EXPECT_EQ(code.text, panel.text);
    const std::array<Vector2d, 4> corners = {
        Vector2d(-0.5, -0.5), {-0.5, 0.5}, {0.5, 0.5}, {0.5, -0.5}};
    ASSERT_EQ(code.corners.size(), corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        // About a module: the decoder works with whole pixels, four a module at most of the time.
        EXPECT_LT((code.corners[i] - panel.pose.inImage(corners[i])).norm(), 0.05 * panel.pose.side)
            << i;
    }
}

TEST(CodeReader, aCodeIsFoundSmallLargeDimBlurredAndTurned) {
    const CodeCase cases[] = {
        {"small", 45.0},
        {"blurred over nearly a module", 56.0, 8000.0, 45000.0, 500.0, 1},
        {"of middle size", 93.0},
        {"large", 600.0},
        {"large and blurred", 580.0, 8000.0, 45000.0, 500.0, 6},
        {"a twentieth of the range", 75.0, 5000.0, 7000.0, 60.0},
        {"dim before what is saturated", 75.0, 5200.0, 9000.0, 150.0, 0, 65520.0},
        {"paper saturated", 75.0, 8000.0, 90000.0, 500.0, 1},
        {"noise of a seventh of the contrast", 85.0, 8000.0, 45000.0, 5300.0},
        {"seen from the side", 100.0, 8000.0, 45000.0, 500.0, 0, 0.0, {0.12, -0.08}}};
    for (const CodeCase& c : cases) {
        const bool isLarge = c.side > 300.0;
        const std::vector<double> angles =
            isLarge ? std::vector{0.0, 0.79} : std::vector{0.0, 0.4, 0.79, -2.0};
        for (const double angle : angles) {
            SCOPED_TRACE(testing::Message() << c.what << ", angle " << angle);
            PanelScene scene(isLarge ? 900 : 240, isLarge ? 960 : 320);
            if (c.ground > 0.0) {
                scene.fill(c.ground);
            }
            const Vector2d middle(0.5 * static_cast<double>(scene.band().cols()),
                                  0.5 * static_cast<double>(scene.band().rows()));
            DrawnPanel panel{kPanelText, {middle, c.side, angle, c.lean}};
            panel.hasSurface = false;
            panel.isFramed = c.ground > 0.0;
            panel.ink = c.ink;
            panel.paper = c.paper;
            scene.draw(panel).blur(c.blur).addNoise(c.noise);
            const std::vector<Code> codes = readCodes(scene.band());
            ASSERT_EQ(codes.size(), 1U);
            expectCode(codes[0], panel);
        }
    }
}

TEST(CodeReader, eachTextIsReadOnceAndPixelsThatAreNoNumberDoNoHarm) {
    PanelScene scene(300, 520);
    const DrawnPanel left{kPanelText, {{120.0, 140.0}, 80.0, 0.2, {0.0, 0.0}}};
    const DrawnPanel right{"RP02-1603036-SC", {{390.0, 150.0}, 90.0, -0.9, {0.0, 0.0}}};
    scene.draw(left).draw(right);
    scene.band().leftCols(20).setConstant(std::numeric_limits<float>::quiet_NaN());
    scene.band().rightCols(20).setConstant(std::numeric_limits<float>::infinity());
    std::vector<Code> codes = readCodes(scene.band());
    ASSERT_EQ(codes.size(), 2U);
    const bool isInOrder = codes[0].text == left.text;
    expectCode(codes[isInOrder ? 0 : 1], left);
    expectCode(codes[isInOrder ? 1 : 0], right);
    EXPECT_EQ(readCodes(scene.draw({kPanelText, right.pose}).band()).size(), 1U);
}

TEST(CodeReader, bandsThatCanShowNoCodeHaveNone) {
    for (const auto& [rows, cols] : {std::pair{0, 0}, {1, 1}, {1, 400}, {400, 1}, {24, 24}}) {
        const BandMatrix band = BandMatrix::Random(rows, cols);
        EXPECT_TRUE(readCodes(band).empty()) << rows << " x " << cols;
    }
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(readCodes(BandMatrix::Constant(300, 300, nan)).empty());
    EXPECT_TRUE(readCodes(BandMatrix::Constant(300, 300, 7.0F)).empty());
    EXPECT_TRUE(readCodes(PanelScene(300, 300).band()).empty());
}

} // namespace
} // namespace tessik::target
