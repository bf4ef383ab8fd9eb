#include "radiometry/Correct.h"

#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/vignetting/VignettingModel.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <limits>
#include <typeinfo>

namespace tessik::radiometry {
namespace {

using test::ImageSetup;

void correctWith(const ImageSetup& setup,
                 CorrectionType type,
                 const datasource::Cache& cache,
                 BandImage& bands,
                 const Eigen::Vector2i& offset = {0, 0}) {
    correct(setup.image,
            setup.camera,
            CameraExternals(),
            {},
            Eigen::ArrayXd(),
            {type},
            geo::ProjectCoordinateSystems(),
            nullptr,
            cache,
            bands,
            offset);
}

std::vector<std::string> chainOf(const ExifInfo& exif) {
    const test::LogCapture log; // unfed, a Sequoia's models complain
    std::vector<std::string> names;
    for (const corrector::Outlook& step : corrector::outlook(corrector::create(exif), {})) {
        names.push_back(step.name);
    }
    return names;
}

TEST(Chain, hasItsCamerasModelAtItsPlace) {
    using Names = std::vector<std::string>;
    const Names head = {"GammaRelinearisation",
                        "BadPixelMasking",
                        "BadExposureMasking",
                        "DarkCurrent",
                        "Vignetting",
                        "ColorMatrix"};
    const auto expected = [&head](const Names& middle, bool isShifted = false) {
        Names names = isShifted ? Names{"IntensityShift"} : Names{};
        names.insert(names.end(), head.begin(), head.end());
        names.insert(names.end(), middle.begin(), middle.end());
        names.insert(names.end(), {"CalibrationTarget", "ConvertNanToNodata"});
        return names;
    };
    ExifInfo exif = test::plainExif(5, 3);
    EXPECT_EQ(chainOf(exif), expected({"BasicOpticalCamera", "SunSensor"}));
    exif.isAirinovMultispec4C = true;
    EXPECT_EQ(chainOf(exif), expected({"AirinovMultispec4COpticalCameraV2_32"}));
    exif.make = QStringLiteral("MicaSense"); // without a valid model it falls through
    EXPECT_EQ(chainOf(exif), expected({"AirinovMultispec4COpticalCameraV2_32"}));
    exif.micaSense3kModel = {0.0, 0.0};
    EXPECT_EQ(chainOf(exif), expected({"MicaSenseRedEdgeOpticalCamera"}));
    exif.isAirinovMultispec4C = false;
    EXPECT_EQ(chainOf(exif), expected({"MicaSenseRedEdgeOpticalCamera", "SunSensor"}));
}

TEST(Chain, shiftsEightBitSequoiaImagesThatHaveNoToneCurve) {
    ExifInfo exif = test::plainExif(5, 3);
    exif.make = QStringLiteral("Parrot");
    exif.model = QStringLiteral("Sequoia");
    EXPECT_NE(chainOf(exif).front(), "IntensityShift");
    exif.pixelType = DataType::UInt8;
    EXPECT_EQ(chainOf(exif).front(), "IntensityShift");
    exif.gamma.resize(1);
    EXPECT_NE(chainOf(exif).front(), "IntensityShift");
}

template <typename... Sources>
void expectSources(const std::vector<datasource::DataSourcePointer>& found) {
    const std::vector<const std::type_info*> expected = {&typeid(datasource::CoordinateSystems),
                                                         &typeid(datasource::ImageMetadata),
                                                         &typeid(datasource::LightConditions),
                                                         &typeid(datasource::Sensor),
                                                         &typeid(datasource::Photogrammetry),
                                                         &typeid(datasource::UserSettings),
                                                         &typeid(Sources)...};
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        const datasource::IDataSource& source = *found[i];
        EXPECT_TRUE(typeid(source) == *expected[i]) << i << ": " << typeid(source).name();
    }
}

TEST(DataSources, areThoseThatApplyInTheirOrder) {
    ImageSetup setup(test::plainExif(5, 3));
    constexpr auto kType = CorrectionType::CameraOnly;
    expectSources<>(setup.sources(kType));
    expectSources<datasource::CalibrationTarget>(setup.sources(kType, {2.0}));
    setup.camera.vignetting.type = VignettingType::RadialPolynomial; // no coefficients yet
    expectSources<>(setup.sources(kType));
    setup.camera.vignetting.coefficients = Eigen::Vector2d(1.0, 0.1);
    expectSources<datasource::VignettingModel>(setup.sources(kType));
    setup.image.exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 5)};
    expectSources<datasource::DarkCurrentModel,
                  datasource::VignettingModel,
                  datasource::CalibrationTarget>(setup.sources(kType, {2.0}));
}

TEST(DataSources, aCachedMapIsUsedAsItIs) {
    const datasource::Cache empty;
    EXPECT_EQ(datasource::lookup(empty, 1, datasource::Type::VignettingModel), nullptr);
    EXPECT_TRUE(empty.empty());

    ExifInfo exif = test::plainExif(5, 3);
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.coefficients = Eigen::VectorXd::Constant(1, 0.5); // brightness 0.5
    const ImageSetup setup(exif);
    datasource::Cache cache;
    cache[{setup.image.cameraId, datasource::Type::VignettingModel}] =
        std::make_shared<datasource::VignettingModel>(VignettingModelNone(5, 3));
    BandImage bands = {BandMatrix::Constant(3, 5, 100)};
    correctWith(setup, CorrectionType::NoCorrection, cache, bands);
    EXPECT_EQ(bands[0](1, 1), 100.0F);
    correctWith(setup, CorrectionType::NoCorrection, empty, bands);
    EXPECT_EQ(bands[0](1, 1), 200.0F);
}

TEST(Correct, aCameraWithoutAnythingToCorrectKeepsItsValues) {
    const ImageSetup setup(test::plainExif(2, 1));
    BandImage bands = {test::band(1, 2, {7.0F, std::numeric_limits<float>::quiet_NaN()})};
    correctWith(setup, CorrectionType::NoCorrection, {}, bands);
    EXPECT_EQ(bands[0](0, 0), 7.0F);
    EXPECT_EQ(bands[0](0, 1), kNoData);
}

TEST(Correct, redEdgeValuesAreTheMakersRadiance) {
    constexpr int kWidth = 40;
    constexpr int kHeight = 30;
    const ImageSetup setup(test::redEdgeExif(kWidth, kHeight));
    const BandMatrix raw = test::redEdgeBand(kWidth, kHeight, 5);
    BandImage bands = {raw};
    correctWith(setup, CorrectionType::CameraOnly, {}, bands);
    int masked = 0;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double expected = test::redEdgeOracle(setup.image.exif, raw(y, x), x, y);
            masked += expected == -10000.0 ? 1 : 0;
            // Four float roundings: dark subtraction is exact, map, its inverse, two products.
            EXPECT_NEAR(bands[0](y, x) / expected, 1.0, 4e-7) << x << " " << y;
        }
    }
    EXPECT_GT(masked, 10); // both ends of the range were there
    EXPECT_LT(masked, kWidth * kHeight / 4);
}

TEST(Correct, tracesSayWhatIsAppliedWithItsValues) {
    const ImageSetup setup(test::redEdgeExif(8, 6));
    const test::LogCapture log;
    BandImage bands = {test::redEdgeBand(8, 6, 1)};
    const auto sources = setup.sources(CorrectionType::CameraOnly, {2.0});
    corrector::apply(corrector::create(setup.image.exif), sources, bands, {0, 0});
    for (const char* line : {"Dark current: Exif: [4800 4816 4784 4832] \n",
                             "Vignetting: Radial polynomial: center 4.24,2.88 coefficients ",
                             "Masking badly exposed pixels outside range [0, 65520]\n",
                             "Dark current correction: 4808\n",
                             "MicaSense 3k coefficients: 1.2e-07 1.4e-06\n",
                             "Calibration target derived sensitivity correction: 0.5\n"}) {
        EXPECT_NE(log.all().find(line), std::string::npos) << line << "\n" << log.all();
    }
}

} // namespace
} // namespace tessik::radiometry
