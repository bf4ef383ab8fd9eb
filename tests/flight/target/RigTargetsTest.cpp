#include "flight/target/RigTargets.h"

#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tessik::flight {
namespace {

TEST(TargetImages, areTheFirstAndLastCapturesWithAllTheirBands) {
    constexpr int kCaptures = 5;
    Flight flight;
    for (int capture = 0; capture < kCaptures; ++capture) {
        for (const std::uint64_t camera : {1U, 2U}) {
            InputImage& image = flight.images.emplace_back();
            image.cameraId = camera;
            image.exif = test::plainExif(4, 3);
            image.exif.sensitivity = {1.0};
            image.exif.captureId = QString::number(capture);
            image.geo.captureTime = 1.6e9 + capture;
            image.path = image.exif.captureId + "_" + QString::number(camera);
            flight.cameras[camera] = cameraData(image.exif);
        }
    }
    // The first capture's second band was taken by a clock that is late: its capture still counts.
    flight.images[1].geo.captureTime += 1.5;
    flight.images[9].enabled = false;
    Observer nobody;
    const Project project = decideProject(flight, {}, nobody);
    const Flight part = targetImages(flight, project);
    std::vector<std::string> paths;
    for (const InputImage& image : part.images) {
        paths.push_back(image.path.toStdString());
    }
    EXPECT_THAT(paths, testing::ElementsAre("0_1", "0_2", "1_1", "1_2", "3_1", "3_2", "4_1"));
    EXPECT_EQ(part.cameras.size(), 2U);
}

} // namespace
} // namespace tessik::flight
