#include "radiometry/Correct.h"

#include "SequoiaSupport.h"
#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tessik::radiometry {
namespace {

using test::grid;

constexpr Eigen::Index kRows = 6;
constexpr Eigen::Index kCols = 5;

BandMatrix corrected(const test::ImageSetup& setup,
                     const sequoia::ModelParameter* model,
                     BandMatrix band,
                     const Eigen::Vector2i& offset = {0, 0}) {
    BandImage bands = {std::move(band)};
    correct(setup.image,
            setup.camera,
            GlobalShutter(),
            {},
            Eigen::ArrayXd(),
            {CorrectionType::CameraOnly},
            geo::ProjectCoordinateSystems(),
            model,
            bands,
            offset);
    return bands.front();
}

TEST(CorrectSequoia, theFactoryModelIsAppliedPixelByPixelAndBlockByBlock) {
    const test::ImageSetup setup(test::sequoiaExif(kCols, kRows));
    const sequoia::ModelParameter model{
        {7.0, grid(kRows, kCols, 0.25, 0.5), 0.02},
        {grid(kRows, kCols, 1e-4, 1e-5), 30.0, grid(kRows, kCols, 1.0, -0.02)}};
    const BandMatrix raw = test::ramp(kRows, kCols, 20000.0F);
    const BandMatrix whole = corrected(setup, &model, raw);
    const ExifInfo& exif = setup.image.exif;
    for (Eigen::Index r = 0; r < kRows; ++r) {
        for (Eigen::Index c = 0; c < kCols; ++c) {
            const double dark = 200.0 * std::exp(0.8) * model.darkCurrent.dark(r, c) + 7.0;
            const double light = (static_cast<double>(raw(r, c)) - dark) /
                                 model.cmos.vignetting(r, c) * exif.apertureFNumber *
                                 exif.apertureFNumber /
                                 ((exif.exposureTime + model.cmos.deltaTau(r, c)) * 200.0 * 30.0);
            EXPECT_NEAR(whole(r, c), light, 1e-6 * light) << r << " " << c; // a few float roundings
        }
    }
    EXPECT_EQ(corrected(setup, &model, raw.block(2, 1, 3, 4), {1, 2}),
              BandMatrix(whole.block(2, 1, 3, 4)));
}

} // namespace
} // namespace tessik::radiometry
