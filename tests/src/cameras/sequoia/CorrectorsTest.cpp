#include "SequoiaSupport.h"
#include "radiometry/corrector/ParrotSequoiaBias.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV1.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>

namespace tessik::radiometry::corrector {
namespace {

using sequoia::CMOSParameter;
using sequoia::ParameterMatrix;
using test::corrected;
using test::grid;
using test::LogCapture;
using test::messageOf;
using test::sequoiaExif;
using test::SequoiaSources;
using test::wouldAct;

using Bias = ParrotSequoiaBias;
using V1 = ParrotSequoiaOpticalCameraV1;
using V2 = ParrotSequoiaOpticalCameraV2;

const CMOSParameter kCmos{grid(6, 4, 1e-4, 1e-5), 30.0, grid(6, 4, 1.0, 0.0)};

/// The factor of one pixel, straight from the exposure relation.
double factorAt(const ExifInfo& exif, const CMOSParameter& cmos, double deltaTau) {
    return exif.apertureFNumber * exif.apertureFNumber /
           ((exif.exposureTime + deltaTau) * exif.iso * cmos.gain);
}

TEST(ParrotSequoiaBias, lowersRedEdgeAndNearInfraredButNeverBelowZero) {
    struct Case {
        const char* band;
        float value;
        float expected;
    };
    for (const Case& c : {Case{"NIR", 0.03F, 0.0F},
                          {"NIR", 0.5F, 0.44974713F},
                          {"NIR", -1.0F, -1.0F},
                          {"NIR", 0.0F, 0.0F},
                          {"NIR", INFINITY, INFINITY},
                          {"Red edge", 0.5F, 0.45650167F},
                          {"Red edge", 0.04F, 0.0F},
                          {"Red edge", -0.01F, -0.01F},
                          {"Green", 0.5F, 0.5F},
                          {"Red", 0.03F, 0.03F},
                          {"Red Edge", 0.5F, 0.5F},
                          {"", -1.0F, -1.0F}}) {
        const SequoiaSources sources(sequoiaExif(1, 1, c.band), &kCmos);
        EXPECT_FLOAT_EQ(corrected<Bias>(sources, test::band(1, 1, {c.value}))(0, 0), c.expected)
            << c.band << " " << c.value;
    }
    const SequoiaSources sources(sequoiaExif(1, 1, "NIR"), &kCmos);
    EXPECT_TRUE(std::isnan(corrected<Bias>(sources, test::band(1, 1, {NAN}))(0, 0)));
}

TEST(ParrotSequoiaBias, actsWithAFactoryModelAndACorrectionAlone) {
    const ExifInfo exif = sequoiaExif(1, 1, "NIR");
    EXPECT_TRUE(wouldAct<Bias>(SequoiaSources(exif, &kCmos, CorrectionType::CameraOnly)));
    EXPECT_FALSE(wouldAct<Bias>(SequoiaSources(exif, &kCmos, CorrectionType::NoCorrection)));
    EXPECT_FALSE(wouldAct<Bias>(SequoiaSources(exif, nullptr)));
}

TEST(ParrotSequoiaOpticalCameraV1, multipliesByOneFactorOfTheExposure) {
    struct Case {
        double fNumber, time, sensitivity;
        int iso;
        double correction;
        float expected;
    };
    for (const Case& c : {Case{2.8, 0.001, 1.0, 100, 0.0, 78.4F},
                          {2.0, 0.5, 4.0, 2, 4.0, 0.5F}, // 4 / (4 + 4)
                          {2.0, 0.5, 4.0, 2, -2.0, 2.0F}}) {
        ExifInfo exif = sequoiaExif(5, 3);
        exif.apertureFNumber = c.fNumber;
        exif.exposureTime = c.time;
        exif.sensitivity = {c.sensitivity};
        exif.iso = c.iso;
        exif.cmosCorrection = {c.correction};
        const LogCapture log;
        const BandMatrix band = corrected<V1>(SequoiaSources(exif, nullptr), test::ramp(3, 5));
        EXPECT_EQ(band, BandMatrix(test::ramp(3, 5) * c.expected));
        std::ostringstream text;
        text << "Sequoia V1 model optical correction: " << c.expected;
        EXPECT_EQ(log.count(logging::kInfo, text.str()), 1) << log.all();
    }
}

TEST(ParrotSequoiaOpticalCameraV1, needsOneSensitivityAndOneCmosCorrection) {
    struct Case {
        std::uint64_t bands;
        std::vector<double> sensitivity;
        std::vector<double> correction;
        const char* message;
    };
    const char* kSensitivity = "Sensitivity not defined for single-band Sequoia image";
    const char* kCorrection = "CMOS correction not defined for single-band Sequoia image";
    for (const Case& c : {Case{1, {2.0}, {0.5}, "no error"},
                          {1, {}, {0.5}, "no error"}, // counts as 1
                          {2, {2.0, 3.0}, {}, kSensitivity},
                          {0, {}, {}, kSensitivity},
                          {1, {2.0}, {}, kCorrection},
                          {1, {2.0}, {0.5, 0.5}, kCorrection}}) {
        ExifInfo exif = sequoiaExif(5, 3);
        exif.bandCount = c.bands;
        exif.sensitivity = c.sensitivity;
        exif.cmosCorrection = c.correction;
        EXPECT_EQ(messageOf<error>([&] { wouldAct<V1>(SequoiaSources(exif, nullptr)); }),
                  c.message);
    }
}

TEST(ParrotSequoiaOpticalCamera, oneModelActsAndNeverBoth) {
    const ExifInfo exif = sequoiaExif(4, 6);
    for (const auto type : {CorrectionType::NoCorrection,
                            CorrectionType::CameraOnly,
                            CorrectionType::CameraSunIrradianceAndSunAngle}) {
        const bool isAsked = type != CorrectionType::NoCorrection;
        EXPECT_EQ(wouldAct<V1>(SequoiaSources(exif, nullptr, type)), isAsked);
        EXPECT_FALSE(wouldAct<V2>(SequoiaSources(exif, nullptr, type)));
        EXPECT_FALSE(wouldAct<V1>(SequoiaSources(exif, &kCmos, type)));
        EXPECT_EQ(wouldAct<V2>(SequoiaSources(exif, &kCmos, type)), isAsked);
    }
}

TEST(ParrotSequoiaOpticalCamera, missingExposureValuesAreNamedAndKeepBothModelsFromActing) {
    struct Case {
        std::function<void(ExifInfo&)> spoil;
        const char* names;
    };
    const std::vector<Case> cases = {
        {[](ExifInfo& e) { e.exposureTime = 0.0, e.iso = 0; }, "exposure iso "},
        {[](ExifInfo& e) { e.exposureTime = NAN; }, "exposure "},
        {[](ExifInfo& e) { e.iso = -1; }, "iso "},
        {[](ExifInfo& e) { e.apertureFNumber = 0.0; }, "aperture F-number "},
        {[](ExifInfo& e) { e.apertureFNumber = -2.0, e.exposureTime = -1.0, e.iso = 0; },
         "aperture F-number exposure iso "}};
    for (const Case& c : cases) {
        ExifInfo exif = sequoiaExif(4, 6);
        c.spoil(exif);
        const std::string message = std::string("Missing or incorrect exif tag for ") + c.names;
        {
            const LogCapture log;
            EXPECT_FALSE(wouldAct<V1>(SequoiaSources(exif, nullptr)));
            EXPECT_EQ(log.count(logging::kWarning, message), 1) << log.all();
        }
        const LogCapture log;
        EXPECT_FALSE(wouldAct<V2>(SequoiaSources(exif, &kCmos)));
        EXPECT_EQ(log.count(logging::kWarning, message), 1) << log.all();
    }
    const LogCapture log;
    EXPECT_FALSE(wouldAct<V2>(SequoiaSources(sequoiaExif(4, 0), &kCmos)));
    EXPECT_FALSE(wouldAct<V2>(SequoiaSources(sequoiaExif(0, 6), &kCmos)));
    EXPECT_EQ(log.count(logging::kWarning, "Missing or incorrect exif tag for "), 2);
}

TEST(ParrotSequoiaOpticalCamera, everyModelTakesOneBandAlone) {
    const ExifInfo exif = sequoiaExif(4, 6, "NIR");
    BandImage bands(2, test::ramp(6, 4));
    const auto message = [&bands](ICorrector&& corrector, const SequoiaSources& sources) {
        feed(corrector, sources.list);
        return messageOf<error>([&] { corrector.correct(bands, {0, 0}); });
    };
    const std::string text =
        ": invalid number of bands, found 2 but expected 1 from image metadata";
    EXPECT_EQ(message(Bias(), SequoiaSources(exif, &kCmos)), "Correcting bias" + text);
    EXPECT_EQ(message(V1(), SequoiaSources(exif, nullptr)),
              "Correcting for optical effects" + text);
    EXPECT_EQ(message(V2(), SequoiaSources(exif, &kCmos)), "Correcting for optical effects" + text);
    EXPECT_EQ(bands[0], test::ramp(6, 4));
}

TEST(ParrotSequoiaOpticalCameraV2, everyPixelHasItsOwnFactorAndABlockTakesThoseOfItsPlace) {
    // 5 rows: one row more in the even field than in the odd one.
    const CMOSParameter cmos{grid(5, 3, 1e-4, 1e-4), 30.0, {}};
    const ExifInfo exif = sequoiaExif(3, 5);
    const SequoiaSources sources(exif, &cmos);
    const BandMatrix ones = BandMatrix::Ones(5, 3);
    const BandMatrix whole = corrected<V2>(sources, ones);
    const BandMatrix block = corrected<V2>(sources, ones.topLeftCorner(2, 2), {1, 3});
    for (Eigen::Index r = 0; r < 5; ++r) {
        for (Eigen::Index c = 0; c < 3; ++c) {
            const double expected = factorAt(exif, cmos, cmos.deltaTau(r, c));
            EXPECT_NEAR(whole(r, c), expected, 1e-6 * expected) << r << " " << c;
        }
    }
    EXPECT_EQ(block, BandMatrix(whole.block(3, 1, 2, 2)));
}

TEST(ParrotSequoiaOpticalCameraV2, aCoarseGridIsEnlargedFieldByField) {
    // Even grid rows differ along the columns; odd rows are constant and far from them.
    ParameterMatrix deltaTau(4, 3);
    deltaTau << 1e-3, 2e-3, 4e-3, 9e-3, 9e-3, 9e-3, 1e-3, 2e-3, 4e-3, 9e-3, 9e-3, 9e-3;
    const CMOSParameter cmos{deltaTau, 30.0, {}};
    const ExifInfo exif = sequoiaExif(9, 12);
    const BandMatrix map = corrected<V2>(SequoiaSources(exif, &cmos), BandMatrix::Ones(12, 9));
    const double first = factorAt(exif, cmos, 1e-3);
    const double last = factorAt(exif, cmos, 4e-3);
    const double odd = factorAt(exif, cmos, 9e-3);
    for (Eigen::Index r = 0; r < 12; r += 2) {
        EXPECT_NEAR(map(r, 0), first, 1e-6 * first) << r;
        EXPECT_NEAR(map(r, 4), factorAt(exif, cmos, 2e-3), 1e-6 * first) << r; // middle column
        EXPECT_NEAR(map(r, 8), last, 1e-6 * last) << r;
        for (Eigen::Index c = 0; c < 9; ++c) {
            EXPECT_NEAR(map(r + 1, c), odd, 1e-6 * odd) << r + 1 << " " << c;
        }
    }
}

TEST(ParrotSequoiaOpticalCameraV2, anOddGridFillsTheLastRowsFromItsLongerField) {
    ParameterMatrix deltaTau(5, 2);
    deltaTau << 1e-3, 1e-3, 9e-3, 9e-3, 1e-3, 1e-3, 9e-3, 9e-3, 1e-3, 1e-3;
    const CMOSParameter cmos{deltaTau, 30.0, {}};
    const ExifInfo exif = sequoiaExif(4, 10);
    const BandMatrix map = corrected<V2>(SequoiaSources(exif, &cmos), BandMatrix::Ones(10, 4));
    for (Eigen::Index r = 0; r < 10; ++r) {
        const bool isOdd = r % 2 == 1 && r < 8;
        const double expected = factorAt(exif, cmos, isOdd ? 9e-3 : 1e-3);
        EXPECT_NEAR(map(r, 3), expected, 1e-6 * expected) << r;
    }
}

TEST(ParrotSequoiaOpticalCameraV2, aGridOrBlockThatDoesNotFitTheImageIsRefused) {
    struct Case {
        Eigen::Index rows, cols;
        Eigen::Vector2i offset;
        const char* message;
    };
    const char* kDelta = "Sequoia delta exposure model: ";
    for (const Case& c :
         {Case{6, 4, {0, 0}, "no error"},
          {5, 4, {0, 0}, "matrix (6,4) cannot be divided in blocks of (5,4)"},
          {3, 4, {0, 0}, "matrix (6,4) cannot be divided in blocks of (3,4)"},
          {0, 0, {0, 0}, "matrix (6,4) cannot be divided in blocks of (0,0)"},
          {6, 4, {0, 1}, "block (1,0) of size (6,4) lies outside the map (6,4)"},
          {6, 4, {-1, 0}, "block (0,-1) of size (6,4) lies outside the map (6,4)"}}) {
        const CMOSParameter cmos{grid(c.rows, c.cols, 1e-4, 1e-5), 30.0, {}};
        const SequoiaSources sources(sequoiaExif(4, 6), &cmos);
        const std::string message =
            messageOf<error>([&] { corrected<V2>(sources, test::ramp(6, 4), c.offset); });
        EXPECT_EQ(message, (message == "no error" ? "" : kDelta) + std::string(c.message));
    }
    // A row field of one row cannot be enlarged.
    const CMOSParameter cmos{grid(3, 2, 1e-4, 1e-5), 30.0, {}};
    EXPECT_THAT(messageOf<std::runtime_error>([&] {
                    corrected<V2>(SequoiaSources(sequoiaExif(4, 6), &cmos), test::ramp(6, 4));
                }),
                testing::EndsWith("Input matrix must be at least 2x2"));
}

TEST(ParrotSequoiaOpticalCameraV2, theFactorsThatItAppliesAreSummarised) {
    const CMOSParameter cmos{grid(6, 4, 0.0, 0.0), 30.0, {}};
    ExifInfo exif = sequoiaExif(4, 6);
    exif.apertureFNumber = 3.0;
    exif.exposureTime = 0.001; // 9 / (0.001 * 200 * 30) = 1.5
    const LogCapture log;
    corrected<V2>(SequoiaSources(exif, &cmos), test::ramp(6, 4));
    EXPECT_EQ(
        log.count(logging::kInfo, "Sequoia V2 model optical correction: min 1.5 max 1.5 mean 1.5"),
        1)
        << log.all();
}

TEST(Chain, aSequoiaHasBothModelsInOrderAndOtherCamerasTakePrecedence) {
    const auto opticalModels = [](const ExifInfo& exif) {
        std::string names;
        const LogCapture log; // unfed, they complain
        for (const Outlook& step : outlook(create(exif), {})) {
            if (step.name.find("Optical") != std::string::npos) {
                names += step.name + " ";
            }
        }
        return names;
    };
    ExifInfo exif = sequoiaExif(4, 6);
    EXPECT_EQ(opticalModels(exif), "ParrotSequoiaOpticalCameraV1 ParrotSequoiaOpticalCameraV2 ");
    exif.isAirinovMultispec4C = true;
    EXPECT_EQ(opticalModels(exif), "AirinovMultispec4COpticalCameraV2_32 ");
    EXPECT_EQ(opticalModels(test::plainExif(4, 6)), "BasicOpticalCamera ");
}

} // namespace
} // namespace tessik::radiometry::corrector
