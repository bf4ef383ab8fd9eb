#include "flight/light/Rigs.h"

#include <gtest/gtest.h>

namespace tessik::flight {
namespace {

InputImage imageOf(std::uint64_t camera, const char* capture, const char* serial) {
    InputImage image;
    image.cameraId = camera;
    image.exif.captureId = capture;
    image.exif.serialNumber = serial;
    return image;
}

TEST(Rigs, camerasOfOneCaptureOrOneBodyFlyTogether) {
    std::vector<InputImage> images = {imageOf(9, "a", "body 1"), // two bodies, which share captures
                                      imageOf(4, "a", "body 2"),
                                      imageOf(4, "b", "body 2"),
                                      imageOf(7, "b", "body 3"),
                                      imageOf(2, "", "body 4"), // captures without a name
                                      imageOf(3, "", "body 4"),
                                      imageOf(5, "", ""), // nothing to go by
                                      imageOf(6, "", ""),
                                      imageOf(8, "a", "body 1")};
    images.back().exif.isThermal = true;
    EXPECT_EQ(rigsOf(images), (std::vector<Rig>{{2, 3}, {4, 7, 9}, {5}, {6}}));
}

} // namespace
} // namespace tessik::flight
