#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/Correct.h"
#include "radiometry/core/Account.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/corrector/IntensityShift.h"
#include "radiometry/sun/SunIrradiance.h"
#include "support/Almanac.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

namespace tessik::radiometry {
namespace {

using test::ImageSetup;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesIn(const Accounts& accounts) {
    std::vector<std::string> names;
    for (const Account& account : accounts) {
        names.push_back(account.name);
    }
    return names;
}

/// "step value [unit]" -> numbers.
std::map<std::string, std::vector<double>> valuesIn(const Accounts& accounts) {
    std::map<std::string, std::vector<double>> values;
    for (const Account& account : accounts) {
        for (const Account::Value& value : account.values) {
            const std::string unit = value.unit.empty() ? "" : " [" + value.unit + "]";
            values[account.name + " " + value.name + unit] = value.numbers;
        }
    }
    return values;
}

Accounts accountsOf(const ImageSetup& setup,
                    CorrectionType type,
                    BandImage bands,
                    const std::vector<double>& sensitivity = {}) {
    Accounts accounts;
    corrector::apply(corrector::create(setup.image.exif),
                     setup.sources(type, sensitivity),
                     bands,
                     {0, 0},
                     accounts);
    return accounts;
}

TEST(Accounts, nameTheStepsThatActedWithTheirNumbersAtEveryLogLevel) {
    constexpr int kWidth = 40;
    constexpr int kHeight = 230; // more than a tile
    ExifInfo exif = test::redEdgeExif(kWidth, kHeight);
    exif.sunIrradiance = {1.25};
    exif.badPixels = {{{3, 4}, {39, 229}, {40, 0}}}; // the last one lies outside
    const ImageSetup setup(exif);
    BandMatrix band = test::redEdgeBand(kWidth, kHeight, 3);
    band(0, 0) = 65520.0F;
    for (const int level : {logging::kInfo, logging::kWarning}) {
        const test::LogCapture log(level);
        BandImage corrected = {band};
        Accounts accounts;
        correct(setup.image,
                setup.camera,
                CameraExternals(),
                {655.36},
                Eigen::ArrayXd(),
                {CorrectionType::CameraAndSunIrradiance},
                geo::ProjectCoordinateSystems(),
                nullptr,
                datasource::Cache(),
                corrected,
                {0, 0},
                accounts);
        EXPECT_THAT(namesIn(accounts),
                    ElementsAre("BadPixelMasking",
                                "BadExposureMasking",
                                "DarkCurrent",
                                "Vignetting",
                                "MicaSenseRedEdgeOpticalCamera",
                                "SunSensor",
                                "CalibrationTarget",
                                "ConvertNanToNodata"));
        auto values = valuesIn(accounts);
        EXPECT_THAT(values["BadPixelMasking masked [px]"], ElementsAre(2));
        EXPECT_THAT(values["BadExposureMasking upper_limit [DN]"], ElementsAre(65520.0));
        EXPECT_THAT(values["DarkCurrent dark_level [DN]"], ElementsAre(4808.0));
        EXPECT_THAT(values["SunSensor irradiance"], ElementsAre(1.25));
        EXPECT_THAT(values["SunSensor sun_elevation [deg]"], IsEmpty());
        const auto factor = static_cast<double>(static_cast<float>(1.0 / 655.36));
        EXPECT_THAT(values["CalibrationTarget factor"], ElementsAre(factor));

        // N^2 / (t S ISO) of 16-bit samples, t of the row: the shutter rolls.
        const auto factorOfRow = [&exif](int row) {
            const auto [k1, k2] = exif.micaSense3kModel;
            const double t = exif.exposureTime + row * k1 - row * exif.exposureTime * k2;
            return exif.apertureFNumber * exif.apertureFNumber /
                   (t * exif.sensitivity[0] * exif.iso) / 65536.0;
        };
        const std::string camera = "MicaSenseRedEdgeOpticalCamera ";
        EXPECT_THAT(values[camera + "k1 [s/row]"], ElementsAre(exif.micaSense3kModel.k1));
        EXPECT_THAT(values[camera + "k2 [1/row]"], ElementsAre(exif.micaSense3kModel.k2));
        EXPECT_NEAR(values[camera + "factor_first_row"].at(0) / factorOfRow(0), 1.0, 1e-7);
        EXPECT_NEAR(values[camera + "factor_last_row"].at(0) / factorOfRow(kHeight - 1), 1.0, 1e-7);

        double sum = 0.0;
        double masked = 0.0;
        for (const float value : corrected[0].reshaped()) {
            sum += value == kNoData ? 0.0 : static_cast<double>(value);
            masked += value == kNoData ? 1.0 : 0.0;
        }
        const double pixels = kWidth * kHeight;
        EXPECT_GT(masked, 10.0);
        EXPECT_THAT(values["ConvertNanToNodata pixels [px]"], ElementsAre(pixels));
        EXPECT_THAT(values["ConvertNanToNodata masked [px]"], ElementsAre(masked));
        // Rows are summed in float.
        EXPECT_NEAR(values["ConvertNanToNodata mean"].at(0) / (sum / (pixels - masked)), 1.0, 1e-6);
    }
}

TEST(Accounts, haveOneNumberABand) {
    ExifInfo exif = test::plainExif(3, 2, 2);
    exif.exposureTime = 0.5;
    exif.sensitivity = {2.0, 4.0};
    exif.badPixels = {{{0, 0}}, {{1, 1}, {2, 2}}};
    Eigen::MatrixXd pattern(2, 1);
    pattern << 10, 40; // the block of three rows has two of 10
    exif.imageHeight = 4;
    exif.darkLevels = {pattern, pattern * 2.0};
    exif.colorConversionMatrix = (Eigen::Matrix2d() << 1, -0.5, 0.25, 2).finished();
    const ImageSetup setup(exif);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto values = valuesIn(accountsOf(setup,
                                      CorrectionType::CameraOnly,
                                      {test::ramp(3, 3, 1000.0F), BandMatrix::Constant(3, 3, nan)},
                                      {2.0, 8.0}));
    EXPECT_THAT(values["BadPixelMasking masked [px]"], ElementsAre(1.0, 2.0));
    EXPECT_THAT(values["DarkCurrent dark_level [DN]"], ElementsAre(20.0, 40.0));
    EXPECT_THAT(values["ColorMatrix share_of_band_0"], ElementsAre(1.0, 0.25));
    EXPECT_THAT(values["ColorMatrix share_of_band_1"], ElementsAre(-0.5, 2.0));
    EXPECT_THAT(values["BasicOpticalCamera factor"], ElementsAre(1.0, 0.5));
    EXPECT_THAT(values["CalibrationTarget factor"], ElementsAre(0.5, 0.125));
    EXPECT_THAT(values["ConvertNanToNodata masked [px]"], ElementsAre(9.0, 9.0));
    EXPECT_TRUE(std::isnan(values["ConvertNanToNodata mean"].at(1)));
}

TEST(Accounts, tellHowTheSunStood) {
    ImageSetup setup(test::plainExif(3, 2, 2));
    setup.image.exif.sunIrradiance = {0.8, 1.6};
    setup.image.exif.sunSensorYawPitchRoll = Eigen::Vector3d(10, 20, 0);
    setup.image.geo.captureTime = 1592730000.0; // 2020-06-21 09:00 UTC
    geo::ProjectCoordinateSystems systems;
    systems.output = geo::OutCoordSystem(geo::CoordSystem::localAt({47.0, 8.0, 500.0}));
    const Eigen::ArrayXd fraction = (Eigen::ArrayXd(2) << 0.85, 0.6).finished();
    constexpr auto kAbsolute = static_cast<CorrectionType>(4);
    BandImage bands(2, test::ramp(2, 3));
    Accounts accounts;
    correct(setup.image,
            setup.camera,
            CameraExternals(),
            {},
            fraction,
            {kAbsolute},
            systems,
            nullptr,
            {},
            bands,
            {0, 0},
            accounts);
    auto values = valuesIn(accounts);
    const SunAngle sun = SunPositionEstimator().sunAngle(
        setup.image.geo.captureTime, 47.0 * test::kDegree, 8.0 * test::kDegree);
    const auto expected = correction::correctedSunIrradiance(setup.image.exif,
                                                             setup.image.geo,
                                                             {},
                                                             CameraExternals(),
                                                             fraction,
                                                             systems.output,
                                                             systems.site,
                                                             kAbsolute);
    EXPECT_NEAR(values["SunSensor sun_elevation [deg]"].at(0), sun.elevation / test::kDegree, 1e-6);
    EXPECT_NEAR(values["SunSensor sun_azimuth [deg]"].at(0), sun.azimuth / test::kDegree, 1e-6);
    EXPECT_NEAR(values["SunSensor sensor_tilt [deg]"].at(0), 20.0, 1e-9);
    EXPECT_THAT(values["SunSensor reading"], ElementsAre(0.8, 1.6));
    EXPECT_THAT(values["SunSensor irradiance"], ElementsAre(expected(0), expected(1)));
    EXPECT_NEAR(values["SunSensor factor"].at(1), expected(1) / 1.6, 1e-12);
}

/// A corrector of an application that needs no more than this.
class Plain : public corrector::ICorrector {
public:
    explicit Plain(bool isActing) : m_isActing(isActing) {}

protected:
    [[nodiscard]] bool isApplicable() const override { return m_isActing; }
    void apply(BandImage& bands, const Eigen::Vector2i& /*blockOffset*/) const override {
        bands[0].array() += 1.0F;
    }

private:
    bool m_isActing;
};

class Telling final : public Plain, public IAccountable {
public:
    using Plain::Plain;
    [[nodiscard]] Account account() const override { return {"Telling", {{"x", "m", {1.0}}}}; }
};

TEST(Accounts, haveTheirPlaceForCorrectorsOfAnApplicationToo) {
    corrector::Chain chain;
    chain.push_back(std::make_unique<corrector::IntensityShift>(2.0F));
    for (const bool isActing : {false, true}) {
        chain.push_back(std::make_unique<Plain>(isActing));
        chain.push_back(std::make_unique<Telling>(isActing));
    }
    BandImage bands = {test::ramp(1, 2)};
    Accounts accounts = {{"before", {}}};
    corrector::apply(chain, {}, bands, {0, 0}, accounts);
    EXPECT_THAT(namesIn(accounts), ElementsAre("before", "IntensityShift", "", "Telling"));
    EXPECT_THAT(accounts[3].numbersOf("x"), ElementsAre(1.0));
    EXPECT_THAT(accounts[3].numbersOf("y"), IsEmpty());
    EXPECT_EQ(bands[0], test::band(1, 2, {4.0F, 6.0F}));
}

TEST(Accounts, afterAnErrorAreThoseOfTheStepsThatActed) {
    const ImageSetup setup(test::redEdgeExif(8, 6));
    BandImage bands = {test::redEdgeBand(8, 6, 1)};
    Accounts accounts;
    EXPECT_NE(test::messageOf<error>([&] {
                  corrector::apply(corrector::create(setup.image.exif),
                                   setup.sources(CorrectionType::CameraOnly, {1.0, 2.0}),
                                   bands,
                                   {0, 0},
                                   accounts);
              }),
              "no error");
    EXPECT_THAT(namesIn(accounts),
                ElementsAre("BadPixelMasking",
                            "BadExposureMasking",
                            "DarkCurrent",
                            "Vignetting",
                            "MicaSenseRedEdgeOpticalCamera"));
}

} // namespace
} // namespace tessik::radiometry
