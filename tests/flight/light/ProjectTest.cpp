#include "flight/light/Project.h"

#include "flight/input/Pixels.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessik::flight {
namespace {

using radiometry::CorrectionType;
using testing::HasSubstr;

/// A camera that states its exposure, but neither a sensitivity nor an irradiance.
Flight flightOfUnknownCamera() {
    Flight flight;
    InputImage& image = flight.images.emplace_back();
    image.cameraId = 3;
    image.exif = test::plainExif(4, 3);
    image.exif.make = "Some maker";
    image.exif.exposureTime = 0.01;
    flight.cameras[3] = cameraData(image.exif);
    return flight;
}

TEST(Project, aCameraOfWhichNothingIsKnownIsRefusedUnlessATypeIsAskedFor) {
    Observer nobody;
    Flight flight = flightOfUnknownCamera();
    const Project project = decideProject(flight, {}, nobody);
    EXPECT_EQ(project.typeOf(flight.images[0]), CorrectionType::NoCorrection);
    EXPECT_THAT(test::messageOf<Refusal>([&] { project.check(flight.images[0]); }),
                HasSubstr("neither a sensitivity nor an irradiance"));
    ProjectOptions asked;
    asked.type = CorrectionType::CameraOnly;
    EXPECT_NO_THROW(decideProject(flight, asked, nobody).check(flight.images[0]));
    // Temperatures need neither, whatever is asked for.
    flight.images[0].exif.isThermal = true;
    const Project thermal = decideProject(flight, asked, nobody);
    EXPECT_EQ(thermal.typeOf(flight.images[0]), CorrectionType::NoCorrection);
    EXPECT_NO_THROW(thermal.check(flight.images[0]));
    EXPECT_NO_THROW(decideProject(flight, {}, nobody).check(flight.images[0]));
}

TEST(Project, anImageThatCannotBeCorrectedCostsItselfOnly) {
    Observer nobody;
    Flight flight = flightOfUnknownCamera();
    flight.images.push_back(flight.images[0]);
    flight.images[1].exif.sensitivity = {2.0};
    const Project project = decideProject(flight, {}, nobody);
    EXPECT_EQ(project.typeOf(flight.images[0]), CorrectionType::CameraOnly);
    EXPECT_NO_THROW(project.check(flight.images[1]));
    EXPECT_THAT(test::messageOf<Refusal>([&] { project.check(flight.images[0]); }),
                HasSubstr("lack what other images of this camera state"));
}

} // namespace
} // namespace tessik::flight
