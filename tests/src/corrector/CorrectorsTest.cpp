#include "radiometry/corrector/AirinovMultispec4COpticalCameraV2_32.h"
#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/BadPixelMasking.h"
#include "radiometry/corrector/BasicOpticalCamera.h"
#include "radiometry/corrector/CalibrationTarget.h"
#include "radiometry/corrector/ColorMatrix.h"
#include "radiometry/corrector/ConvertNanToNodata.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/corrector/GammaRelinearisation.h"
#include "radiometry/corrector/IntensityShift.h"
#include "radiometry/corrector/MicaSenseRedEdgeOpticalCamera.h"
#include "radiometry/corrector/Vignetting.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>

namespace tessik::radiometry::corrector {
namespace {

using test::ImageSetup;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr auto kCamera = CorrectionType::CameraOnly;

/// Equal value for value, a NaN being equal to a NaN.
void expectSame(const BandMatrix& found, const BandMatrix& expected) {
    ASSERT_EQ(found.rows(), expected.rows());
    ASSERT_EQ(found.cols(), expected.cols());
    for (Eigen::Index i = 0; i < found.size(); ++i) {
        const float f = found.data()[i];
        const float e = expected.data()[i];
        EXPECT_TRUE(f == e || (std::isnan(f) && std::isnan(e)))
            << "pixel " << i << ": " << f << " instead of " << e;
    }
}

TEST(ValueCorrectors, shiftMultipliesAndNanBecomesNoDataButInfinityStays) {
    BandImage bands = {test::band(1, 5, {3.0F, kNan, kInf, -kInf, -1.0F})};
    const test::LogCapture log;
    IntensityShift(256.0F).correct(bands, {0, 0});
    ConvertNanToNodata().correct(bands, {0, 0});
    expectSame(bands[0], test::band(1, 5, {768.0F, -10000.0F, kInf, -kInf, -256.0F}));
    EXPECT_EQ(log.count(logging::kInfo, "Image shifted by 256"), 1);
}

TEST(BadPixelMasking, masksColumnRowPositionsAndSkipsThoseOutside) {
    ExifInfo exif = test::plainExif(5, 3, 2);
    exif.badPixels = {{{4, 0}, {-1, 0}, {5, 0}, {0, 3}, {0, -1}}, {{1, 2}}};
    const ImageSetup setup(exif);
    BandImage bands = {test::ramp(3, 5), test::ramp(3, 5, 100)};
    BandImage expected = bands;
    expected[0](0, 4) = kNan;
    expected[1](2, 1) = kNan;
    BadPixelMasking corrector;
    EXPECT_TRUE(test::run(corrector, setup.sources(kCamera), bands));
    expectSame(bands[0], expected[0]);
    expectSame(bands[1], expected[1]);
}

struct ExposureCase {
    float value;
    bool isKept;
};

TEST(BadExposureMasking, keepsWhatLiesStrictlyBetweenDarkLevelAndSaturation) {
    ExifInfo exif = test::plainExif(1, 1);
    exif.storedRange = {0.0, 65520.0};
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 5)};
    const ImageSetup dark(exif);
    exif.darkLevels.clear();
    const ImageSetup bright(exif);
    const auto isKept = [](const ImageSetup& setup, float value) {
        BandImage bands = {test::band(1, 1, {value})};
        BadExposureMasking corrector;
        EXPECT_TRUE(test::run(corrector, setup.sources(CorrectionType::NoCorrection), bands));
        return bands[0](0, 0) == value;
    };
    for (const ExposureCase& c : {ExposureCase{5.0F, false},
                                  {5.5F, true},
                                  {65519.0F, true},
                                  {65520.0F, false},
                                  {kNan, false}}) {
        EXPECT_EQ(isKept(dark, c.value), c.isKept) << c.value;
    }
    EXPECT_TRUE(isKept(bright, 5.0F));
    EXPECT_FALSE(isKept(bright, 0.0F));
}

TEST(BadExposureMasking, readsTheDarkMapAtTheBlocksPlace) {
    ExifInfo exif = test::plainExif(4, 4);
    Eigen::MatrixXd pattern(2, 2);
    pattern << 10, 20, 30, 40;
    exif.darkLevels = {pattern};
    const ImageSetup setup(exif);
    // Column 1, row 2: the dark levels are 20 10 / 40 30.
    BandImage bands = {test::band(2, 2, {20, 11, 41, 30})};
    BadExposureMasking corrector;
    test::run(corrector, setup.sources(kCamera), bands, {1, 2});
    expectSame(bands[0], test::band(2, 2, {kNan, 11, 41, kNan}));
}

TEST(BadExposureMasking, withAToneCurveTheRangeIsThatOfLinearValues) {
    ExifInfo exif = test::plainExif(1, 1, 2);
    exif.gamma = {{2.0, 1.0, 0.1}, {1.0, 2.0, 0.3}}; // 0.1..2.1 and 0.3..1.3
    const ImageSetup setup(exif);
    for (const ExposureCase& c :
         {ExposureCase{0.1F, false}, {0.2F, true}, {2.0F, true}, {2.2F, false}}) {
        BandImage bands = {test::band(1, 1, {1.0F}), test::band(1, 1, {c.value})};
        BadExposureMasking corrector;
        test::run(corrector, setup.sources(kCamera), bands);
        EXPECT_EQ(bands[1](0, 0) == c.value, c.isKept) << c.value;
    }
}

TEST(DarkCurrent, subtractsTheMapAtTheBlocksPlace) {
    ExifInfo exif = test::plainExif(12, 4);
    Eigen::MatrixXd pattern(2, 2);
    pattern << 1, 2, 3, 4;
    exif.darkLevels = {pattern};
    const ImageSetup setup(exif);
    BandImage bands = {
        test::ramp(3, 11, 100)}; // wider than the strands of the loop, not a multiple
    BandMatrix expected = bands[0];
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 11; ++c) {
            expected(r, c) -= static_cast<float>(pattern((r + 1) % 2, (c + 1) % 2));
        }
    }
    const test::LogCapture log;
    DarkCurrent corrector;
    test::run(corrector, setup.sources(kCamera), bands, {1, 1});
    expectSame(bands[0], expected);
    EXPECT_NE(log.all().find("Dark current correction: 2."), std::string::npos);
}

TEST(DarkCurrent, warnsOfNegativeValuesInTheLastBandAloneAndKeepsThem) {
    ExifInfo exif = test::plainExif(9, 1, 2);
    exif.darkLevels.assign(2, Eigen::MatrixXd::Constant(1, 1, 50));
    const ImageSetup setup(exif);
    const std::string warning = "Negative pixel value(s) found after dark current correction";
    for (const int negativeBand : {0, 1}) {
        for (const int pixel : {0, 8}) { // in a strand, and in the rest of the row
            BandImage bands(2, BandMatrix::Constant(1, 9, 60));
            bands[static_cast<std::size_t>(negativeBand)](0, pixel) = 49;
            const test::LogCapture log;
            DarkCurrent corrector;
            test::run(corrector, setup.sources(kCamera), bands);
            EXPECT_EQ(bands[static_cast<std::size_t>(negativeBand)](0, pixel), -1.0F);
            EXPECT_EQ(log.count(logging::kWarning, warning), negativeBand) << pixel;
        }
    }
}

TEST(Vignetting, multipliesByTheInverseMapAtTheBlocksPlace) {
    ExifInfo exif = test::plainExif(200, 100);
    exif.vignetting.type = VignettingType::Polynomial2D;
    exif.vignetting.coefficients = Eigen::Matrix2d::Identity(); // 1 + x y
    const ImageSetup setup(exif);
    BandImage bands(2, BandMatrix::Constant(2, 3, 8));
    ::tessik::radiometry::corrector::Vignetting corrector;
    test::run(corrector, setup.sources(CorrectionType::NoCorrection), bands, {100, 50});
    for (const BandMatrix& band : bands) {
        for (int r = 0; r < 2; ++r) {
            for (int c = 0; c < 3; ++c) {
                const double brightness = 1.0 + (100 + c) / 200.0 * ((50 + r) / 100.0);
                EXPECT_NEAR(band(r, c), 8.0 / brightness, 8 * 2e-7);
            }
        }
    }
}

TEST(OpticalCameras, applyTheirFactorsFromTypeCameraOn) {
    ExifInfo exif = test::plainExif(5, 3, 2);
    exif.sensitivity = {2.0, 4.0};
    exif.apertureFNumber = 2.8;
    exif.exposureTime = 0.01;
    exif.iso = 100;
    const ImageSetup setup(exif);
    const BandImage raw = {test::ramp(3, 5), test::ramp(3, 5, 50)};

    struct Case {
        std::unique_ptr<ICorrector> corrector;
        float first, second;
        const char* trace;
    };
    const test::LogCapture log;
    Case cases[] = {{std::make_unique<BasicOpticalCamera>(),
                     3.92F,
                     1.96F,
                     "Camera optical correction: 3.92 1.96\n"},
                    {std::make_unique<AirinovMultispec4COpticalCameraV2_32>(),
                     0.5F,
                     0.25F,
                     "AirinovMultispec4C optical correction:  0.5 0.25\n"}};
    for (Case& c : cases) {
        BandImage bands = raw;
        EXPECT_FALSE(test::run(*c.corrector, setup.sources(CorrectionType::NoCorrection), bands));
        expectSame(bands[1], raw[1]);
        EXPECT_TRUE(test::run(*c.corrector, setup.sources(kCamera), bands));
        expectSame(bands[0], raw[0] * c.first);
        expectSame(bands[1], raw[1] * c.second);
        EXPECT_NE(log.all().find(c.trace), std::string::npos) << log.all();
    }
}

TEST(RedEdgeCamera, everyRowHasItsOwnExposure) {
    ExifInfo exif = test::plainExif(2, 3);
    exif.make = QStringLiteral("MicaSense");
    exif.sensitivity = {0.25};
    exif.apertureFNumber = 2.8;
    exif.exposureTime = 0.002;
    exif.iso = 200;
    exif.micaSense3kModel = {1e-4, 0.02};
    const ImageSetup setup(exif);
    BandImage bands = {BandMatrix::Constant(3, 2, 1000)};
    MicaSenseRedEdgeOpticalCamera corrector;
    // The block offset does not move the rows.
    EXPECT_TRUE(test::run(corrector, setup.sources(kCamera), bands, {7, 11}));
    for (int y = 0; y < 3; ++y) {
        const double exposure = 0.002 + 1e-4 * y - 0.02 * 0.002 * y;
        const double expected = 1000 * 2.8 * 2.8 / (exposure * 0.25 * 200) / 65536;
        EXPECT_NEAR(bands[0](y, 1) / expected, 1.0, 1.2e-7) << y;
    }
    for (const auto& [k1, k2] : {std::pair(std::nan(""), 0.0), std::pair(0.0, std::nan(""))}) {
        ImageSetup invalid(exif);
        invalid.image.exif.micaSense3kModel = {k1, k2};
        MicaSenseRedEdgeOpticalCamera other;
        EXPECT_FALSE(test::run(other, invalid.sources(kCamera), bands));
    }
}

TEST(CalibrationTarget, dividesByTheSensitivity) {
    const ImageSetup setup(test::plainExif(5, 3, 2));
    BandImage bands = {test::ramp(1, 3), test::band(1, 3, {kNan, -10000.0F, 8.0F})};
    ::tessik::radiometry::corrector::CalibrationTarget corrector;
    const test::LogCapture log;
    EXPECT_TRUE(test::run(corrector, setup.sources(kCamera, {2.0, 4.0}), bands));
    std::ostringstream text;
    text << "Calibration target derived sensitivity correction: " << Eigen::Array2f(0.5F, 0.25F);
    EXPECT_EQ(log.count(logging::kInfo, text.str()), 1) << log.all();
    expectSame(bands[0], test::ramp(1, 3) * 0.5F);
    EXPECT_TRUE(std::isnan(bands[1](0, 0)));
    EXPECT_EQ(bands[1](0, 1), -2500.0F);
    EXPECT_EQ(bands[1](0, 2), 2.0F);
    ::tessik::radiometry::corrector::CalibrationTarget unfed;
    EXPECT_FALSE(test::run(unfed, setup.sources(kCamera), bands));
}

TEST(GammaRelinearisation, looksUpStoredValues) {
    ExifInfo exif = test::plainExif(4, 1, 1);
    exif.pixelType = DataType::UInt8;
    exif.gamma = {{0.9, 2.2, 0.05}};
    const ImageSetup setup(exif);
    BandImage bands = {test::band(1, 4, {0.0F, 255.9F, 77.0F, 300.0F})};
    GammaRelinearisation corrector;
    EXPECT_TRUE(test::run(corrector, setup.sources(kCamera), bands));
    EXPECT_FLOAT_EQ(bands[0](0, 0), 0.05F);
    EXPECT_FLOAT_EQ(bands[0](0, 1), 0.95F);
    EXPECT_FLOAT_EQ(bands[0](0, 2), static_cast<float>(0.9 * std::pow(77.0 / 255.0, 2.2) + 0.05));
    EXPECT_TRUE(std::isnan(bands[0](0, 3))); // no 8-bit image holds it

    for (const auto type : {DataType::Int16, DataType::Float32, DataType::Unknown}) {
        ImageSetup other(exif);
        other.image.exif.pixelType = type;
        GammaRelinearisation none;
        EXPECT_FALSE(test::run(none, other.sources(kCamera), bands)) << toString(type);
    }
}

TEST(ColorMatrix, separatesBandsAndClampsOnlyNumericalLeakage) {
    ExifInfo exif = test::plainExif(3, 1, 2);
    exif.colorConversionMatrix.resize(2, 2);
    exif.colorConversionMatrix << 1, -1, 0, 1;
    const auto corrected = [](const ExifInfo& metadata) {
        BandImage bands = {test::band(1, 3, {1, -1, 5}), test::band(1, 3, {2, 2, kNan})};
        ColorMatrix corrector;
        EXPECT_TRUE(test::run(corrector, ImageSetup(metadata).sources(kCamera), bands));
        return bands;
    };
    const BandImage clamped = corrected(exif);
    expectSame(clamped[0], test::band(1, 3, {0, -3, kNan}));
    expectSame(clamped[1], test::band(1, 3, {2, 2, kNan}));
    exif.pixelType = DataType::Int16; // signed: a negative value is a value
    expectSame(corrected(exif)[0], test::band(1, 3, {-1, -3, kNan}));
}

struct BandCountCase {
    const char* context;
    std::function<std::unique_ptr<ICorrector>()> make;
};

TEST(AllCorrectors, refuseAnotherNumberOfBandsBeforeTouchingAPixel) {
    ExifInfo exif = test::plainExif(5, 3, 2);
    exif.make = QStringLiteral("MicaSense");
    exif.micaSense3kModel = {0.0, 0.0};
    exif.sensitivity = {1.5, 2.5};
    exif.darkLevels.assign(2, Eigen::MatrixXd::Constant(1, 1, 2));
    exif.badPixels = {{{0, 0}}, {{0, 0}}};
    exif.gamma.resize(2);
    exif.colorConversionMatrix = Eigen::Matrix2d::Identity() * 2;
    const ImageSetup setup(exif);
    const std::vector<BandCountCase> cases = {
        {"Masking bad pixels", [] { return std::make_unique<BadPixelMasking>(); }},
        {"Masking pixels with bad exposure", [] { return std::make_unique<BadExposureMasking>(); }},
        {"Correcting for dark current", [] { return std::make_unique<DarkCurrent>(); }},
        {"Correcting for gamma transformation",
         [] { return std::make_unique<GammaRelinearisation>(); }},
        {"Correcting for color matrix", [] { return std::make_unique<ColorMatrix>(); }},
        {"Correcting for optical effects", [] { return std::make_unique<BasicOpticalCamera>(); }},
        {"Correcting for optical effects",
         [] { return std::make_unique<MicaSenseRedEdgeOpticalCamera>(); }},
        {"Correcting for optical effects",
         [] { return std::make_unique<AirinovMultispec4COpticalCameraV2_32>(); }},
        {"Correcting for target sensitivity",
         [] { return std::make_unique<::tessik::radiometry::corrector::CalibrationTarget>(); }},
    };
    for (const BandCountCase& c : cases) {
        const auto corrector = c.make();
        BandImage bands = {test::ramp(3, 5)};
        EXPECT_EQ(test::messageOf<error>([&] {
                      test::run(*corrector, setup.sources(kCamera, {3.0, 4.0}), bands);
                  }),
                  std::string(c.context) +
                      ": invalid number of bands, found 1 but expected 2 from image metadata");
        expectSame(bands[0], test::ramp(3, 5));
    }
}

TEST(AllCorrectors, refuseABlockOutsideTheirMap) {
    ExifInfo exif = test::plainExif(5, 5);
    exif.darkLevels = {Eigen::Vector2d(1, 2)}; // repeats into 4 rows
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.coefficients = Eigen::Vector2d(1, 0.1);
    const ImageSetup setup(exif);
    const auto message = [&](ICorrector& corrector, Eigen::Vector2i offset) {
        BandImage bands = {BandMatrix::Ones(5, 5)};
        return test::messageOf<error>(
            [&] { test::run(corrector, setup.sources(kCamera), bands, offset); });
    };
    DarkCurrent dark;
    BadExposureMasking masking;
    ::tessik::radiometry::corrector::Vignetting vignetting;
    EXPECT_EQ(message(dark, {0, 0}),
              "Correcting for dark current: block (0,0) of size (5,5) lies outside the map (4,5)");
    EXPECT_NE(message(masking, {0, 0}), "no error");
    EXPECT_EQ(message(vignetting, {0, 0}), "no error");
    EXPECT_NE(message(vignetting, {1, 0}), "no error");
    EXPECT_NE(message(vignetting, {0, -1}), "no error");
}

} // namespace
} // namespace tessik::radiometry::corrector
