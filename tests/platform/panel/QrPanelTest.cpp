#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/panel/Detectors.h"
#include "platform/panel/PanelScene.h"
#include "support/Support.h"

#include <Eigen/Geometry>
#include <boost/geometry/geometry.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace tessik::target {
namespace {

using Eigen::Vector2d;

Vector2d centreOf(const image::Ring& ring) {
    Vector2d sum = Vector2d::Zero();
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
        sum += Vector2d(ring[i].x(), ring[i].y());
    }
    return sum / static_cast<double>(ring.size() - 1);
}

/// Expects the region to be a square of the panel, in sides of the code. The decoder's corners may
/// be off by a px, 41 px from the code's centre, and the square is three times as far.
void expectRegion(const DetectedTarget& target,
                  const PanelPose& pose,
                  const Vector2d& centre,
                  double side) {
    image::Ring expected;
    for (const Vector2d& corner : {Vector2d(-1, -1), {1, -1}, {1, 1}, {-1, 1}, {-1, -1}}) {
        const Vector2d place = pose.inImage(centre + 0.5 * side * corner);
        expected.emplace_back(static_cast<int>(std::lround(place.x())),
                              static_cast<int>(std::lround(place.y())));
    }
    ASSERT_EQ(target.region.size(), 5U);
    EXPECT_TRUE(boost::geometry::equals(target.region.front(), target.region.back()));
    EXPECT_LT((centreOf(target.region) - centreOf(expected)).norm(), 4.0);
    const double area = std::abs(boost::geometry::area(expected));
    EXPECT_NEAR(std::abs(boost::geometry::area(target.region)), area, 0.1 * area);
}

constexpr auto kText = "RP06-1234567-AB_04005000900600";
constexpr auto kOldText = "RP02-1234567-AB";

/// A panel of version 2: a large surface beside the code.
DrawnPanel oldPanel(const PanelPose& pose, int side) {
    DrawnPanel panel{kOldText, pose};
    panel.surface = Eigen::Rotation2Dd(side * M_PI / 2.0) * Vector2d(-1.68, 0.0);
    panel.surfaceSide = 1.77;
    return panel;
}

TEST(QrPanel, theSurfaceIsFoundAndItsReflectanceRead) {
    for (const double angle : {0.0, 0.5, 2.2, 3.1, -1.4}) {
        const DrawnPanel panel{kText, {{250.0, 240.0}, 82.0, angle, {0.03, 0.02}}};
        const Detection found = PanelScene(480, 500).draw(panel).addNoise(400.0).find();
        SCOPED_TRACE(angle);
        ASSERT_EQ(found.targets.size(), 1U);
        const DetectedTarget& target = found.targets[0];
        EXPECT_TRUE(found.remarks.empty());
        EXPECT_EQ(target.detector, "QR panel");
        EXPECT_EQ(target.type, TargetType::Unknown);
        EXPECT_EQ(target.id, "RP06-1234567-AB");
        ASSERT_EQ(target.reflectance.size(), 1U);
        EXPECT_NEAR(target.reflectance[0], 0.55, 1e-12);
        expectRegion(target, panel.pose, {0.0, 114.0 / 82.0}, 0.8 * 41.0 / 82.0);
        EXPECT_LT((centreOf(target.code) - panel.pose.centre).norm(), 1.5);
        EXPECT_NEAR(std::abs(boost::geometry::area(target.code)), 82.0 * 82.0, 500.0);
    }
}

TEST(QrPanel, onOldPanelsTheSurfaceMayLieOnAnySideOfTheCode) {
    for (int side = 0; side < 4; ++side) {
        DrawnPanel panel = oldPanel({{300.0, 290.0}, 82.0, 0.3, {0.0, 0.0}}, side);
        // Ground that is bright and more even than the panel.
        panel.grey = 14000.0;
        PanelScene scene(600, 620);
        const Detection found = scene.fill(20000.0).draw(panel).addNoise(300.0).find();
        SCOPED_TRACE(side);
        ASSERT_EQ(found.targets.size(), 1U);
        expectRegion(found.targets[0],
                     panel.pose,
                     143.2 / 84.0 * panel.surface.normalized(),
                     0.8 * 76.2 / 84.0);
    }
}

struct SceneCase {
    const char* what;
    PanelScene scene;
    std::size_t targets;
    std::vector<std::string> remarks;
};

TEST(QrPanel, whatIsNoUsablePanelIsLeftOutAndSaid) {
    const PanelPose left{{130.0, 120.0}, 82.0, 0.0, {0.0, 0.0}};
    const PanelPose right{{430.0, 120.0}, 82.0, 0.0, {0.0, 0.0}};
    const std::string other = "RP06-7654321-AB_04005000900600";
    const std::vector<std::string> noSurface = {
        "panel RP06-1234567-AB does not show its grey surface inside the image"};
    DrawnPanel bare{kText, left};
    bare.hasSurface = false;
    bare.isFramed = false;
    DrawnPanel dim{kText, left};
    dim.grey = PanelScene::kDark + 1500.0;
    dim.ink = PanelScene::kDark;
    // It is beside the code, as panels of version 5 have it.
    DrawnPanel turned{kText, right};
    turned.surface = {-1.58, 0.0};
    PanelScene even(360, 560);
    even.fill(20000.0);
    const SceneCase cases[] = {
        {"no code", PanelScene(360, 560), 0, {}},
        {"even image", even, 0, {}},
        {"two panels", PanelScene(360, 560).draw({kText, left}).draw({other, right}), 2, {}},
        {"one text twice", PanelScene(360, 560).draw({kText, left}).draw({kText, right}), 1, {}},
        {"foreign code beside a panel",
         PanelScene(360, 560).draw({kText, left}).draw({"hello\x1b[2J", right}),
         1,
         {"a QR code that is no panel's: \"hello\\x1b[2J\""}},
        {"surface outside the image",
         PanelScene(150, 150).draw({kText, {{75.0, 75.0}}}),
         0,
         noSurface},
        {"code that leaves the image",
         PanelScene(360, 560).draw({kText, {{506.0, 120.0}, 82.0, -M_PI / 4.0, {0.0, 0.0}}}),
         0,
         {"panel RP06-1234567-AB has a code that is not inside the image"}},
        {"surface as dark as no panel", PanelScene(360, 560).draw(dim), 0, noSurface},
        {"no surface, but even ground", PanelScene(even).draw(bare), 0, noSurface},
        {"a surface where the version has none", PanelScene(360, 560).draw(turned), 0, noSurface}};
    for (const SceneCase& c : cases) {
        const Detection found = c.scene.find();
        EXPECT_EQ(found.targets.size(), c.targets) << c.what;
        EXPECT_EQ(found.remarks, c.remarks) << c.what;
    }
}

/// What is known of a sample image with a panel.
struct SamplePanel {
    std::string file;
    std::string serial;
    double reflectance = 0.0;        ///< 0 = not known
    std::optional<Vector2d> surface; ///< centre of the area that the camera recorded, px
};

std::vector<SamplePanel> samplePanels(const std::filesystem::path& samples) {
    std::vector<SamplePanel> panels;
    std::ifstream stream(samples / "panels.csv");
    std::string line;
    std::getline(stream, line); // file,qr_text,panel_serial,wavelength_nm,reflectance,..,"x,y ..",
    while (std::getline(stream, line)) {
        std::istringstream fields(line);
        SamplePanel panel;
        std::string field;
        std::getline(fields, panel.file, ',');
        std::getline(fields, field, ',');
        std::getline(fields, panel.serial, ',');
        std::getline(fields, field, ',');
        std::getline(fields, field, ',');
        panel.reflectance = field.empty() ? 0.0 : std::stod(field);
        if (const auto quote = line.find('"'); quote != std::string::npos) {
            std::string corners = line.substr(quote + 1, line.rfind('"') - quote - 1);
            std::replace(corners.begin(), corners.end(), ',', ' ');
            std::istringstream numbers(corners);
            panel.surface = Vector2d::Zero();
            for (double x = 0.0, y = 0.0; numbers >> x >> y;) {
                *panel.surface += 0.25 * Vector2d(x, y);
            }
        }
        panels.push_back(panel);
    }
    return panels;
}

TEST(QrPanel, realPanelsAreFoundInAllBands) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const std::vector<SamplePanel> panels = samplePanels(*samples);
    ASSERT_EQ(panels.size(), 25U);
    for (const SamplePanel& panel : panels) {
        SCOPED_TRACE(panel.file);
        const std::string path = (*samples / panel.file).string();
        const InputImage image = exif::inputImage(path, exif::readMetadata(path));
        const BandImage raw = image::Raster::open(path).read();
        const Detection found = targetDetectors().at(1)->find(image, raw);
        EXPECT_TRUE(found.remarks.empty());
        ASSERT_EQ(found.targets.size(), 1U);
        const DetectedTarget& target = found.targets[0];
        EXPECT_EQ(target.id.toStdString(), panel.serial);
        ASSERT_EQ(target.reflectance.empty(), panel.reflectance == 0.0);
        if (!target.reflectance.empty()) {
            EXPECT_NEAR(target.reflectance[0], panel.reflectance, 1e-3);
        }
        if (panel.surface) {
            // The surface is 100 px wide, or more.
            EXPECT_LT((centreOf(target.region) - *panel.surface).norm(), 12.0);
        }
        const image::Box all(
            {0, 0}, {static_cast<int>(raw[0].cols()) - 1, static_cast<int>(raw[0].rows()) - 1});
        const image::RegionStats stats = image::statsForRegion(raw[0], all, target.region);
        const double light = stats.mean - image.exif.darkLevels.at(0).mean();
        EXPECT_GT(stats.validCount, 1500);
        EXPECT_LT(stats.stdDev / light, 0.035);
        EXPECT_GT(light, 23000.0); // nothing else there is as bright and as even
    }
}

TEST(QrPanel, realGroundHasNoPanel) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    for (const char* name : {"rededge/IMG_0001_1.tif",
                             "rededge/IMG_0001_4.tif",
                             "rededge-m/IMG_0007_1.tif",
                             "rededge-m/IMG_0007_4.tif",
                             "sequoia/IMG_180413_080658_0000_NIR.TIF",
                             "p4m/DJI_0014.TIF"}) {
        const BandImage raw = image::Raster::open((*samples / name).string()).read();
        const Detection found = targetDetectors().at(1)->find({}, raw);
        EXPECT_TRUE(found.targets.empty() && found.remarks.empty()) << name;
    }
}

} // namespace
} // namespace tessik::target
