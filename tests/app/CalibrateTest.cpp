#include "app/Command.h"
#include "flight/target/SensitivityFile.h"
#include "platform/image/Raster.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <fstream>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using OrderedJson = nlohmann::ordered_json;
using test::TemporaryFolder;
using testing::HasSubstr;

TEST(TargetsCommand, whatIsSetIsThereInTheNextRun) {
    const TemporaryFolder folder;
    EXPECT_EQ(radiometry(folder, "targets set unknown/RP02 475_20=0.56 560.04_20=0.57").status, 0);
    const Result shown = radiometry(folder, "targets show unknown/RP02 --json");
    EXPECT_EQ(OrderedJson::parse(shown.out),
              OrderedJson::parse(R"({"target": "unknown/RP02", "reflectance": [
                  {"wavelength_nm": 475.0, "fwhm_nm": 20.0, "reflectance": 0.56},
                  {"wavelength_nm": 560.0, "fwhm_nm": 20.0, "reflectance": 0.57}]})"));
    EXPECT_TRUE(fs::exists(folder.path() / "settings" / "tessik" / "radiometry.conf"));
    // One bad value, and nothing is stored.
    EXPECT_EQ(radiometry(folder, "targets set unknown/RP03 475_20=0.56 560_20=57").status, 1);
    EXPECT_EQ(radiometry(folder, "targets set panel/RP03 475_20=0.56").status, 1);
    EXPECT_EQ(radiometry(folder, "targets show unknown/RP03").status, 1);
    EXPECT_EQ(radiometry(folder, "targets remove unknown/RP02").status, 0);
    EXPECT_EQ(radiometry(folder, "targets list").out, "");
}

/// A patch of one reflectance in the first capture of a flight, and that reflectance.
struct Patch {
    explicit Patch(const fs::path& flight) {
        constexpr Eigen::Index kSide = 16;
        const BandImage truth =
            image::Raster::open((flight / "truth/IMG_0000_1.tif").string()).read();
        const BandMatrix& blue = truth[0];
        for (Eigen::Index r = blue.rows() / 2; r + kSide < blue.rows(); r += 4) {
            for (Eigen::Index c = 8; c + kSide < blue.cols() - 8; c += 4) {
                const auto block = blue.block(r, c, kSide, kSide);
                if (block.minCoeff() == block.maxCoeff() && block(0, 0) > reflectance) {
                    reflectance = block(0, 0);
                    const auto corner = [&](Eigen::Index x, Eigen::Index y) {
                        return std::to_string(c + x) + "," + std::to_string(r + y) + " ";
                    };
                    region = corner(0, 0) + corner(kSide - 1, 0) + corner(kSide - 1, kSide - 1) +
                             corner(0, kSide - 1);
                }
            }
        }
    }
    float reflectance = 0.05F;
    std::string region;
};

class CalibrateCommand : public testing::Test {
protected:
    CalibrateCommand() {
        simulate::FlightOptions options;
        options.captures = 2;
        options.width = 320;
        options.height = 240;
        simulate::renderFlight(folder.path() / "flight", options);
    }
    TemporaryFolder folder;
};

TEST_F(CalibrateCommand, aKnownPatchOfASimulatedFlightGivesTheMakersConstant) {
    const Patch patch(folder.path() / "flight");
    ASSERT_NE(patch.region, "");
    const std::string region = " --type irradiance --region '" + patch.region + "'";
    const std::string value = std::to_string(patch.reflectance);
    const Result result = radiometry(
        folder,
        "calibrate flight/images/IMG_0000_1.tif -o out.json --reflectance BLUE=" + value + region);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("by the maker's constant: reflectance 0."));
    const flight::SensitivityFile file = flight::readSensitivityFile(folder.file("out.json"));
    ASSERT_EQ(file.cameras.size(), 1U);
    // 3 % of noise, averaged over 256 pixels.
    EXPECT_NEAR(file.cameras[0].sensitivity.at(0) / 655.36, 1.0, 0.01);
    EXPECT_EQ(file.cameras[0].targets.at(0).target.target.region.size(), 5U);

    // The same from the store, and what is refused.
    const std::string stored = "calibrate flight/images/IMG_0000_1.tif --target unknown/P" + region;
    EXPECT_THAT(radiometry(folder, stored).err,
                HasSubstr("radiometry targets set unknown/P 475.0_20.0=VALUE"));
    radiometry(folder, "targets set unknown/P 475_20=" + value);
    const Result again = radiometry(folder, stored + " -o again.json");
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_NEAR(
        flight::readSensitivityFile(folder.file("again.json")).cameras.at(0).sensitivity.at(0),
        file.cameras[0].sensitivity[0],
        1e-4);
    const Result other = radiometry(
        folder, "calibrate flight/images/IMG_0000_1.tif --reflectance Bleu=0.5" + region);
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("no image has a band Bleu; there are: Blue"));
}

TEST_F(CalibrateCommand, aRegionThatLeavesTheImageIsSaidToDoSo) {
    const Result result = radiometry(folder,
                                     "calibrate flight/images/IMG_0000_1.tif --reflectance "
                                     "BLUE=0.5 --region '1,1 5,1 5,9999 1,5'");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err,
                HasSubstr("IMG_0000_1.tif: --region: the corner 5,9999 does not lie in the image"));
}

TEST_F(CalibrateCommand, imagesWithoutTargetAreNamed) {
    const Result none = radiometry(folder, "calibrate flight/images/IMG_0001_1.tif -o out.json");
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("IMG_0001_1.tif: no target was found"));
    EXPECT_FALSE(fs::exists(folder.file("out.json")));
}

TEST_F(CalibrateCommand, validateTellsWhatIsMissing) {
    EXPECT_EQ(radiometry(folder, "validate flight/images").status, 0);
    const Result result = radiometry(folder, "validate flight/images --type sun-angle --json");
    EXPECT_EQ(result.status, 2);
    const OrderedJson cameras = OrderedJson::parse(result.out);
    ASSERT_EQ(cameras.size(), 5U);
    EXPECT_EQ(cameras[0]["problems"].size(), 2U);
    EXPECT_EQ(cameras[0]["problems"][0]["missing"],
              OrderedJson::parse(R"(["sun-irradiance-orientation"])"));
}

} // namespace
} // namespace tessik::app
