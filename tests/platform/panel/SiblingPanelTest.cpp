#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/panel/CodeReader.h"
#include "platform/panel/Detectors.h"
#include "platform/panel/PanelScene.h"
#include "support/Support.h"

#include <boost/geometry/geometry.hpp>
#include <gtest/gtest.h>

#include <optional>

namespace tessik::target {
namespace {

using Eigen::Vector2d;

constexpr auto kText = "RP06-1234567-AB_04005000900600";

Vector2d middle(const image::Ring& ring) {
    Vector2d sum = Vector2d::Zero();
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
        sum += Vector2d(ring[i].x(), ring[i].y());
    }
    return sum / static_cast<double>(ring.size() - 1);
}

/// A panel and what lies about it, as a band of a rig shows it.
PanelScene sceneAt(const Vector2d& shift, double grey = 30000.0) {
    DrawnPanel panel{kText, {Vector2d(200.0, 160.0) + shift, 75.0, 0.3, {0.0, 0.0}}};
    panel.grey = grey;
    return PanelScene(400, 420).draw(panel).addNoise(300.0);
}

/// Of a label whose print has faded.
DrawnPanel blankLabel(const Vector2d& shift) {
    DrawnPanel label{"", {Vector2d(200.0, 160.0) + shift, 75.0, 0.3, {0.0, 0.0}}};
    label.text = "x";
    label.hasSurface = false;
    label.isFramed = false;
    label.ink = label.paper;
    return label;
}

/// What is found with the help of a band that shows the panel where it is drawn without a shift.
Detection findLike(const PanelScene& scene, const PanelScene& seen = sceneAt({0.0, 0.0})) {
    const Detection sibling = seen.find();
    const BandImage raw = {seen.band()};
    EXPECT_EQ(sibling.targets.size(), 1U);
    return targetDetectors().at(1)->findLike(
        scene.image(800.0), {scene.band()}, {sibling.targets.at(0), raw, QStringLiteral("Blue")});
}

TEST(SiblingPanel, aCodeThatIsTooSmallForTheWholeImageIsReadNearWhereItMustBe) {
    int foundInWhole = 0;
    for (const double angle : {0.0, 0.3, 0.5, 0.7}) {
        DrawnPanel panel{kText, {{203.0, 150.0}, 34.0, angle, {0.0, 0.0}}};
        PanelScene scene(400, 420);
        scene.draw(panel).addNoise(300.0);
        foundInWhole += static_cast<int>(!scene.find().targets.empty());
        const Detection found = findLike(scene);
        ASSERT_EQ(found.targets.size(), 1U) << angle;
        EXPECT_EQ(found.targets[0].detector, "QR panel");
        EXPECT_EQ(found.targets[0].codeText, kText);
        EXPECT_LT((middle(found.targets[0].code) - panel.pose.centre).norm(), 1.5);
        ASSERT_EQ(found.targets[0].reflectance.size(), 1U);
        EXPECT_NEAR(found.targets[0].reflectance[0], 0.58, 1e-12); // at its own wavelength
    }
    EXPECT_LT(foundInWhole, 4);
}

TEST(SiblingPanel, aPanelWhoseCodeCannotBeReadIsPlacedAsTheSiblingShowsIt) {
    const Vector2d seenAt = middle(sceneAt({0.0, 0.0}).find().targets.at(0).region);
    for (const Vector2d& shift : {Vector2d(38.0, -22.0), {-53.0, 10.0}}) {
        // Dimmer, and of another contrast.
        const PanelScene scene = sceneAt(shift, 20000.0).draw(blankLabel(shift));
        EXPECT_TRUE(scene.find().targets.empty());
        const Detection found = findLike(scene);
        EXPECT_TRUE(found.remarks.empty());
        ASSERT_EQ(found.targets.size(), 1U) << shift.transpose();
        const DetectedTarget& target = found.targets[0];
        EXPECT_EQ(target.detector, "QR panel, placed by Blue");
        EXPECT_EQ(target.id, "RP06-1234567-AB");
        EXPECT_TRUE(target.codeText.empty() && target.codeCorners.empty());
        EXPECT_LT((middle(target.region) - seenAt - shift).norm(), 2.0) << shift.transpose();
        ASSERT_EQ(target.reflectance.size(), 1U);
        EXPECT_NEAR(target.reflectance[0], 0.58, 1e-12);
    }
}

TEST(SiblingPanel, noPanelIsPlacedWhereNoneIsSeenForCertain) {
    const Vector2d still(0.0, 0.0);
    const Vector2d far(-90.0, 30.0); // more than 0.15 of the width
    const DrawnPanel label = blankLabel(still);
    const Vector2d surface = label.pose.inImage({0.0, 1.42});
    PanelScene shaded = sceneAt(still).draw(label);
    shaded.band().block(0, static_cast<Eigen::Index>(surface.x()), 400, 40) *= 0.5F;
    // The same panel once more, within reach: which one it is cannot be told.
    PanelScene twice = PanelScene(400, 620);
    PanelScene once = PanelScene(400, 620);
    for (const double x : {200.0, 290.0}) {
        DrawnPanel panel{kText, {{x, 160.0}, 60.0, 0.0, {0.0, 0.0}}};
        twice.draw(panel);
        if (x < 250.0) {
            once.draw(panel);
        }
        panel.text = "x";
        panel.hasSurface = false;
        panel.isFramed = false;
        panel.ink = panel.paper;
        twice.draw(panel);
    }
    EXPECT_TRUE(findLike(PanelScene(400, 420)).targets.empty());
    EXPECT_TRUE(findLike(sceneAt(far).draw(blankLabel(far))).targets.empty());
    EXPECT_TRUE(findLike(shaded).targets.empty());
    EXPECT_TRUE(findLike(twice, once).targets.empty());
    // An image of another size is not a band of the same kind of camera.
    PanelScene larger = sceneAt(still).draw(label);
    larger.band() = BandMatrix(larger.band().topRows(396));
    EXPECT_TRUE(findLike(larger).targets.empty());
    // Nor is it placed by a target that was found without a code, as a camera's record is.
    const PanelScene plain = sceneAt(still);
    DetectedTarget recorded = plain.find().targets.at(0);
    recorded.codeText.clear();
    recorded.codeCorners.clear();
    const BandImage raw = {plain.band()};
    for (const auto& detector : targetDetectors()) {
        const Detection found =
            detector->findLike(plain.image(), raw, {recorded, raw, QStringLiteral("Blue")});
        EXPECT_TRUE(found.targets.empty() && found.remarks.empty());
    }
}

struct SampleBand {
    InputImage image;
    BandImage raw;
    Detection found;
};

SampleBand sampleBand(const std::filesystem::path& path) {
    SampleBand band;
    band.image = exif::inputImage(path.string(), exif::readMetadata(path.string()));
    band.raw = image::Raster::open(path.string()).read();
    band.found = targetDetectors().at(1)->find(band.image, band.raw);
    return band;
}

/// Paints the code in the mean of what was there.
void cover(const image::Ring& code, BandMatrix& band) {
    image::Box box;
    boost::geometry::envelope(code, box);
    const image::Point low = box.min_corner();
    const image::Point high = box.max_corner();
    const float mean = band.block(low.y(), low.x(), high.y() - low.y(), high.x() - low.x()).mean();
    constexpr int kRim = 3;
    for (int y = low.y() - kRim; y <= high.y() + kRim; ++y) {
        for (int x = low.x() - kRim; x <= high.x() + kRim; ++x) {
            if (boost::geometry::distance(image::Point(x, y), code) <= kRim) {
                band(y, x) = mean;
            }
        }
    }
}

TEST(SiblingPanel, realPanelsArePlacedFromOtherBandsAndNoneInOtherCaptures) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    struct Case {
        const char* seen;
        const char* hidden;
        const char* ground; ///< of the same size, without a panel
    };
    for (const Case& c :
         {Case{"rededge/IMG_0000_1.tif", "rededge/IMG_0000_4.tif", "rededge/IMG_0001_4.tif"},
          {"rededge-m/IMG_0000_5.tif", "rededge-m/IMG_0000_2.tif", "rededge-m/IMG_0007_2.tif"},
          {"rededge-mx-dual/IMG_0000_2.tif",
           "rededge-mx-dual/IMG_0000_9.tif",
           "rededge/IMG_0001_1.tif"}}) {
        SCOPED_TRACE(c.hidden);
        const SampleBand seen = sampleBand(*samples / c.seen);
        SampleBand hidden = sampleBand(*samples / c.hidden);
        ASSERT_EQ(seen.found.targets.size() + hidden.found.targets.size(), 2U);
        const DetectedTarget truth = hidden.found.targets[0];
        cover(truth.code, hidden.raw[0]);
        const SiblingTarget sibling{seen.found.targets[0], seen.raw, QStringLiteral("a sibling")};
        const ITargetDetector& detector = *targetDetectors().at(1);
        EXPECT_TRUE(detector.find(hidden.image, hidden.raw).targets.empty());
        const Detection placed = detector.findLike(hidden.image, hidden.raw, sibling);
        ASSERT_EQ(placed.targets.size(), 1U);
        EXPECT_EQ(placed.targets[0].detector, "QR panel, placed by a sibling");
        EXPECT_EQ(placed.targets[0].reflectance, truth.reflectance);
        EXPECT_LT((middle(placed.targets[0].code) - middle(truth.code)).norm(), 2.5);
        EXPECT_LT((middle(placed.targets[0].region) - middle(truth.region)).norm(), 12.0);
        const SampleBand ground = sampleBand(*samples / c.ground);
        EXPECT_TRUE(detector.findLike(ground.image, ground.raw, sibling).targets.empty());
    }
}

} // namespace
} // namespace tessik::target
