#include "SequoiaSupport.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace tessik::radiometry {
namespace {

using test::grid;
using test::LogCapture;

sequoia::ModelParameter modelOf(Eigen::Index rows, Eigen::Index cols) {
    sequoia::ModelParameter model;
    model.darkCurrent = {7.0, grid(rows, cols, 0.25, 0.5), 0.02};
    return model;
}

TEST(DarkCurrentModelSequoia, isTheModelWhereThereAreParametersAndItsMapFollowsIsoAndTemperature) {
    ExifInfo exif = test::sequoiaExif(5, 3);
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 64.0)};
    const sequoia::ModelParameter model = modelOf(3, 5);
    const BandImage map = createDarkCurrentModel(exif, &model)->map();
    ASSERT_EQ(map.size(), 1U);
    ASSERT_EQ(map[0].rows(), 3);
    EXPECT_FLOAT_EQ(map[0](1, 2), static_cast<float>(200.0 * std::exp(0.8) * 3.75 + 7.0));
    EXPECT_EQ(createDarkCurrentModel(exif, nullptr)->map()[0](1, 2), 64.0F);
}

TEST(DarkCurrentModelSequoia, anIsoBelowOneIsWarnedOfAndUsed) {
    const sequoia::ModelParameter model = modelOf(2, 2);
    ExifInfo exif = test::sequoiaExif(2, 2);
    for (const int iso : {0, 1}) {
        exif.iso = iso;
        const LogCapture log;
        const BandImage map = createDarkCurrentModel(exif, &model)->map();
        EXPECT_EQ(log.count(logging::kWarning, "Invalid ISO read from exif"), iso == 0 ? 1 : 0);
        EXPECT_EQ((map[0].array() == 7.0F).all(), iso == 0);
    }
}

TEST(DarkCurrentModelSequoia, aMissingTemperatureIsRefusedAfterTheIsoWasWarnedOf) {
    const sequoia::ModelParameter model = modelOf(2, 2);
    ExifInfo exif = test::sequoiaExif(2, 2);
    exif.sensorTemperature.reset();
    exif.iso = -5;
    const LogCapture log;
    EXPECT_THROW((void)createDarkCurrentModel(exif, &model)->map(), std::bad_optional_access);
    EXPECT_EQ(log.count(logging::kWarning, "Invalid ISO read from exif"), 1);
}

TEST(DarkCurrentModelSequoia, aPatternOfAnotherSizeThanTheImageIsRefusedByTheCorrector) {
    const ExifInfo exif = test::sequoiaExif(5, 3);
    const sequoia::ModelParameter model = modelOf(2, 5);
    const datasource::DarkCurrentModel source(*createDarkCurrentModel(exif, &model));
    corrector::DarkCurrent corrector;
    corrector.useData(source);
    BandImage bands = {test::ramp(3, 5)};
    EXPECT_EQ(test::messageOf<error>([&] {
                  corrector.correct(bands, {0, 0});
              }),
              "Correcting for dark current: block (0,0) of size (3,5) lies outside the map (2,5)");
    EXPECT_EQ(bands[0], test::ramp(3, 5));
}

} // namespace
} // namespace tessik::radiometry
