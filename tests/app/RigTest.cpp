#include "app/Command.h"
#include "platform/exif/TagFile.h"
#include "platform/image/Raster.h"
#include "simulate/Flight.h"

#include <exiv2/exiv2.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;
using testing::HasSubstr;

/// Paints over a rectangle of a raw image. Its metadata stay.
void paint(const fs::path& file, int x0, int y0, int x1, int y1) {
    image::Raster raster = image::Raster::open(file.string());
    BandImage bands = raster.read();
    bands[0].block(y0, x0, y1 - y0, x1 - x0).setConstant(bands[0].mean());
    const exif::TagFile tags = exif::readTags(file.string());
    const fs::path painted = file.string() + ".painted";
    image::writeUInt16Raster(painted.string(), bands);
    const auto source = Exiv2::ImageFactory::open(file.string());
    source->readMetadata();
    const auto target = Exiv2::ImageFactory::open(painted.string());
    target->readMetadata();
    Exiv2::ExifData exif = source->exifData();
    for (const Exiv2::Exifdatum& datum : target->exifData()) {
        if (datum.groupName() == "Image" &&
            exif.findKey(Exiv2::ExifKey(datum.key())) != exif.end() &&
            datum.tagName().rfind("Black", 0) != 0) {
            exif[datum.key()] = datum.value(); // where the pixels are
        }
    }
    target->setExifData(exif);
    target->setXmpData(source->xmpData());
    target->writeMetadata();
    fs::rename(painted, file);
}

/// Kinds of the cameras' sources in a plan; "" = none.
std::set<std::string> sourcesIn(const fs::path& plan) {
    std::set<std::string> kinds;
    const Json document = Json::parse(readAll(plan));
    for (const Json& camera : document.at("cameras")) {
        const Json& source = camera.at("sensitivity_source");
        kinds.insert(source.is_null() ? "" : source.at("kind").get<std::string>());
    }
    return kinds;
}

class RigOfFiveBands : public testing::Test {
protected:
    RigOfFiveBands() {
        simulate::FlightOptions options;
        options.captures = 3;
        options.width = 320;
        options.height = 240;
        options.hasPanel = true;
        options.hasTruth = false;
        simulate::renderFlight(folder.path() / "flight", options);
    }
    [[nodiscard]] fs::path raw(int capture, int band) const {
        return folder.path() / "flight/images" /
               ("IMG_000" + std::to_string(capture) + "_" + std::to_string(band) + ".tif");
    }
    TemporaryFolder folder;
};

TEST_F(RigOfFiveBands, takesTheNextSourceAsAWholeWhereABandLacksThePanel) {
    // Nothing of the panel is left in band 3 of one capture: the other capture serves.
    paint(raw(0, 3), 0, 0, 320, 240);
    const Result one = radiometry(folder, "plan flight/images -o one.json");
    EXPECT_EQ(one.status, 0);
    EXPECT_THAT(one.err,
                HasSubstr("not every band of its capture shows it usably (MicaSense "
                          "RedEdge Red (1000001): no target was found)"));
    EXPECT_EQ(sourcesIn(folder.path() / "one.json"), std::set<std::string>{"target"});
    const Json plan = Json::parse(readAll(folder.path() / "one.json"));
    for (const Json& target : plan.at("targets")) {
        const bool isOfLastCapture =
            target.at("image").get<std::string>().find("IMG_0002") != std::string::npos;
        EXPECT_EQ(target.at("used").get<bool>(), isOfLastCapture);
    }

    // In no capture do all bands show it.
    paint(raw(2, 2), 0, 0, 320, 240);
    const Result none = radiometry(folder, "plan flight/images -o none.json");
    EXPECT_EQ(none.status, 0);
    EXPECT_THAT(none.err, HasSubstr("no reflectance target was used"));
    EXPECT_EQ(sourcesIn(folder.path() / "none.json"), std::set<std::string>{"maker"});
    // Who measures a panel gets what there is.
    const Result measured = radiometry(
        folder, "calibrate flight/images/IMG_0000_1.tif flight/images/IMG_0000_3.tif -o cal.json");
    EXPECT_EQ(measured.status, 2);
    // And a file that lacks bands is no source of a rig.
    const Result file = radiometry(folder, "plan flight/images -o file.json --targets cal.json");
    EXPECT_THAT(file.err, HasSubstr("used for no band of the rig"));
    EXPECT_EQ(sourcesIn(folder.path() / "file.json"), std::set<std::string>{""});
}

TEST_F(RigOfFiveBands, hasOneSourceWhereACodeIsPaintedOver) {
    ASSERT_EQ(radiometry(folder, "plan flight/images -o whole.json").status, 0);
    const Json whole = Json::parse(readAll(folder.path() / "whole.json"));
    for (const Json& target : whole.at("targets")) {
        const auto image = target.at("image").get<std::string>();
        const char band = image[image.size() - 5];
        if (band == '2' || band == '3') {
            int x0 = 320;
            int y0 = 240;
            int x1 = 0;
            int y1 = 0;
            for (const Json& corner : target.at("code")) {
                x0 = std::min(x0, corner.at(0).get<int>());
                y0 = std::min(y0, corner.at(1).get<int>());
                x1 = std::max(x1, corner.at(0).get<int>());
                y1 = std::max(y1, corner.at(1).get<int>());
            }
            paint(folder.path() / image, x0, y0, x1 + 1, y1 + 1);
        }
    }
    ASSERT_EQ(radiometry(folder, "plan flight/images -o painted.json").status, 0);
    EXPECT_EQ(sourcesIn(folder.path() / "painted.json").size(), 1U);
    const Json painted = Json::parse(readAll(folder.path() / "painted.json"));
    for (std::size_t i = 0; i < 5; ++i) {
        const auto sensitivity = [i](const Json& plan) {
            return plan.at("cameras").at(i).at("sensitivity").at(0).get<double>();
        };
        EXPECT_NEAR(sensitivity(painted) / sensitivity(whole), 1.0, 0.02) << i;
    }
}

/// Older firmware wrote no calibration tags.
TEST_F(RigOfFiveBands, borrowsCalibrationOfTheSameBodyAndBand) {
    ASSERT_EQ(radiometry(folder,
                         "correct flight/images/IMG_0001_1.tif -o whole --type camera "
                         "--targets none")
                  .status,
              0);
    fs::create_directories(folder.path() / "old");
    const fs::path old = folder.path() / "old/IMG_0001_1.tif";
    fs::copy_file(raw(1, 1), old);
    {
        const auto image = Exiv2::ImageFactory::open(old.string());
        image->readMetadata();
        Exiv2::XmpData& xmp = image->xmpData();
        for (const char* name : {"Xmp.Camera.BandSensitivity",
                                 "Xmp.Camera.VignettingPolynomial",
                                 "Xmp.Camera.VignettingCenter",
                                 "Xmp.MicaSense.RadiometricCalibration"}) {
            const auto tag = xmp.findKey(Exiv2::XmpKey(name));
            ASSERT_NE(tag, xmp.end()) << name;
            xmp.erase(tag);
        }
        image->writeMetadata();
    }
    const Result borrowed = radiometry(
        folder,
        "correct old -o lent --type camera --targets none --calibration-from flight/images");
    EXPECT_EQ(borrowed.status, 0);
    EXPECT_THAT(borrowed.err, HasSubstr("are taken from flight/images/IMG_0000_1.tif"));
    const auto pixels = [this](const char* file) {
        return image::Raster::open(folder.file(file)).read().at(0);
    };
    EXPECT_EQ((pixels("lent/IMG_0001_1.tif") - pixels("whole/IMG_0001_1.tif")).norm(), 0.0F);
    // A plan remembers it.
    EXPECT_EQ(radiometry(folder, "correct --plan lent/plan.json -o again").status, 0);
    EXPECT_EQ((pixels("again/IMG_0001_1.tif") - pixels("whole/IMG_0001_1.tif")).norm(), 0.0F);
    const Result other = radiometry(
        folder,
        "correct old -o other --type camera --calibration-from flight/images/IMG_0000_2.tif");
    EXPECT_THAT(other.err,
                HasSubstr("no image of --calibration-from is of the same body and band"));
    const Result self =
        radiometry(folder, "correct old -o self --calibration-from old/IMG_0001_1.tif");
    EXPECT_EQ(self.status, 1);
    EXPECT_THAT(self.err, HasSubstr("it states no sensitivity or no vignetting itself"));
}

} // namespace
} // namespace tessik::app
