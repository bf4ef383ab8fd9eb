#include "platform/camera/TargetDetector.h"
#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/panel/Detectors.h"
#include "simulate/Compare.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <boost/geometry/geometry.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <tuple>

namespace tessik::simulate {
namespace {

using nlohmann::json;

using Place = boost::geometry::model::d2::point_xy<double>;
using Surface = boost::geometry::model::polygon<Place>;

/// A flight with a panel before and after it. The surfaces of panels with an even seed are the
/// smaller ones.
class PanelFlight
    : public testing::TestWithParam<std::tuple<std::uint64_t, Eigen::Index, Eigen::Index>> {
protected:
    PanelFlight() {
        options.captures = 4;
        std::tie(options.seed, options.width, options.height) = GetParam();
        options.hasPanel = true;
        renderFlight(flight, options);
        std::ifstream stream(flight / kTruthFolder / kManifestFile);
        manifest = json::parse(stream);
    }

    test::TemporaryFolder folder;
    std::filesystem::path flight = folder.path() / "flight";
    FlightOptions options;
    json manifest;
};

Surface surfaceOf(const json& panel) {
    Surface surface;
    for (const json& corner : panel.at("corners_px")) {
        boost::geometry::append(surface, Place(corner.at(0), corner.at(1)));
    }
    boost::geometry::correct(surface);
    return surface;
}

TEST_P(PanelFlight, thePanelIsFoundWhereItIsWithTheReflectanceThatItHas) {
    for (const json& file : manifest.at("files")) {
        const std::string name = file.at("file");
        SCOPED_TRACE(name);
        const bool isPanel = file.at("capture") == 0 || file.at("capture") == 3;
        ASSERT_EQ(file.contains("panel"), isPanel);
        const std::string path = (flight / kImagesFolder / name).string();
        const InputImage image = exif::inputImage(path, exif::readMetadata(path));
        const BandImage raw = image::Raster::open(path).read();
        const target::Detection found = target::targetDetectors().at(1)->find(image, raw);
        EXPECT_TRUE(found.remarks.empty());
        ASSERT_EQ(found.targets.size(), isPanel ? 1U : 0U);
        // The panel lies on the ground, beside the place where the flight begins.
        EXPECT_NEAR(image.geo.position->height, isPanel ? 111.0 : 165.0, 1e-3);
        if (!isPanel) {
            continue;
        }
        EXPECT_EQ(*image.exif.cameraYawPitchRoll, Eigen::Vector3d::Zero());
        const json& panel = file.at("panel");
        const target::DetectedTarget& target = found.targets[0];
        EXPECT_EQ(target.id.toStdString(), panel.at("serial").get<std::string>());
        ASSERT_EQ(target.reflectance.size(), 1U);
        EXPECT_NEAR(target.reflectance[0], panel.at("reflectance").get<double>(), 1e-9);
        const Surface surface = surfaceOf(panel);
        for (const image::Point& corner : target.region) {
            EXPECT_TRUE(boost::geometry::within(Place(corner.x(), corner.y()), surface));
            // The truth's image agrees with what its manifest states about the panel.
            const BandImage truth = image::Raster::open(flight / kTruthFolder / name).read();
            EXPECT_NEAR(static_cast<double>(truth[0](corner.y(), corner.x())),
                        panel.at("reflectance").get<double>(),
                        1e-6);
        }
    }
}

TEST_P(PanelFlight, theComparisonLeavesPanelsOutAndCanTakeValuesAsTheyStand) {
    // The reflectance is right except for 2 % in one capture; captures of the panel are missing.
    const std::filesystem::path corrected = folder.path() / "corrected";
    std::filesystem::create_directory(corrected);
    for (const json& file : manifest.at("files")) {
        if (file.contains("panel")) {
            continue;
        }
        const std::string name = file.at("file");
        BandImage truth = image::Raster::open(flight / kTruthFolder / name).read();
        truth[0] *= file.at("capture") == 2 ? 1.02F : 1.0F;
        image::writeFloatRaster(corrected / name, {truth[0]});
    }
    for (const BandResult& result : compare(flight, corrected, Target::Reflectance, Scale::One)) {
        EXPECT_EQ(result.scale, 1.0);
        EXPECT_NEAR(result.bias, 1.0, 0.02); // as many pixels in both captures
        EXPECT_EQ(result.worstCapture, 2U);
        EXPECT_NEAR(result.worstCaptureBias, 2.0, 1e-3);
        // Of the two images one is off by 2 % of its mean; glints would make that mean larger than
        // any matter's reflectance.
        ASSERT_EQ(result.images.size(), 2U);
        const ImageMean& wrong = result.images[1];
        EXPECT_NEAR(wrong.corrected / wrong.truth, 1.02, 1e-5);
        EXPECT_NEAR(result.images[0].corrected, result.images[0].truth, 1e-7);
        EXPECT_NEAR(result.absoluteError.ofImages, 0.01 * wrong.truth, 1e-6);
        EXPECT_NEAR(result.absoluteError.ofPixels, 0.01 * wrong.truth, 1e-4);
        EXPECT_LT(wrong.truth, 0.5);
    }
    const double fitted = compare(flight, corrected, Target::Reflectance).at(0).scale;
    EXPECT_GT(fitted, 1.001); // the captures weigh as their noise allows
    EXPECT_LT(fitted, 1.019);
}

INSTANTIATE_TEST_SUITE_P(EachPrint,
                         PanelFlight,
                         testing::Values(std::tuple(3, 640, 480),
                                         std::tuple(4, 640, 480),
                                         std::tuple(3, 160, 120),
                                         std::tuple(4, 160, 120)));

TEST(Simulate, aPanelNeedsARedEdgeAndCapturesBetween) {
    const test::TemporaryFolder folder;
    FlightOptions options;
    options.hasPanel = true;
    options.captures = 2;
    const auto refusal = [&] {
        return test::messageOf<Failure>([&] { renderFlight(folder.path() / "a", options); });
    };
    EXPECT_EQ(refusal(), folder.file("a") + ": a flight with a panel has at least 3 captures");
    options.captures = 3;
    options.camera = CameraModel::SequoiaV1;
    EXPECT_EQ(refusal(), folder.file("a") + ": only a RedEdge or RedEdge-P is flown with a panel");
}

} // namespace
} // namespace tessik::simulate
