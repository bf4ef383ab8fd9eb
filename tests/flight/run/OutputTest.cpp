#include "flight/run/Output.h"

#include "flight/input/Pixels.h"
#include "platform/exif/ExifReader.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gtest/gtest.h>

namespace tessik::flight {
namespace {

TEST(Output, describesTheBandsThatItHolds) {
    const test::TemporaryFolder folder;
    simulate::FlightOptions options;
    options.captures = 1;
    options.width = 64;
    options.height = 48;
    options.hasTruth = false;
    simulate::renderFlight(folder.path() / "flight", options);
    const std::string path = (folder.path() / "flight/images/IMG_0000_1.tif").string();
    exif::ImageMetadata metadata = exif::readMetadata(path);
    const auto raw = metadata.raw;
    InputImage image = exif::inputImage(path, std::move(metadata));
    const BandImage bands = openPixels(image).read();
    for (const bool hasUseless : {false, true}) {
        image.exif.uselessBands.assign(hasUseless ? 1 : 0, 0);
        const std::string output = folder.file(hasUseless ? "useless.tif" : "all.tif");
        writeOutput(output, image, *raw, bands, "camera", {}, "made by hand", {});
        EXPECT_EQ(fingerprintOf(output), "made by hand");
        const auto tags = exif::readTags(output).tags;
        for (const char* name : {"BandName", "CentralWavelength", "WavelengthFWHM"}) {
            EXPECT_EQ(tags.xmpText("Camera", name).empty(), hasUseless) << name;
        }
        EXPECT_FALSE(tags.xmpText("MicaSense", "CaptureId").empty());
        EXPECT_EQ(tags.xmpText("Tessik", "Correction"), "camera");
    }
    EXPECT_EQ(fingerprintOf(path), "");
    EXPECT_EQ(fingerprintOf(folder.path() / "nothing.tif"), "");
}

} // namespace
} // namespace tessik::flight
