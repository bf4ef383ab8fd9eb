#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"
#include "radiometry/datasource/DataSources.h"
#include "radiometry/vignetting/VignettingModel.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace tessik::radiometry {
namespace {

template <typename Model>
std::string printed(const Model& model) {
    std::ostringstream os;
    os << model;
    return os.str();
}

VignettingData description(VignettingType type, Eigen::MatrixXd coefficients) {
    VignettingData data;
    data.type = type;
    data.coefficients = std::move(coefficients);
    return data;
}

TEST(RadialVignetting, isThePolynomialOfTheDistanceToTheCentre) {
    CameraParams camera;
    camera.width = 300; // more than one chunk of a row, and not a multiple of it
    camera.height = 4;
    VignettingData data =
        description(VignettingType::RadialPolynomial, Eigen::Vector4d(1.0, -2e-3, 3e-6, 0.0));
    data.centerX = 140.25;
    data.centerY = 1.5;
    const BandMatrix map = createVignettingModel(data, camera)->map();
    ASSERT_EQ(map.rows(), 4);
    ASSERT_EQ(map.cols(), 300);
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 300; ++c) {
            const double rho = std::hypot(c - 140.25, r - 1.5);
            // Rounding to float, and of the double sum: half a float ulp is 6e-8.
            EXPECT_NEAR(map(r, c), 1.0 - 2e-3 * rho + 3e-6 * rho * rho, 1e-7) << r << " " << c;
        }
    }
    EXPECT_EQ(printed(*createVignettingModel(data, camera)),
              "Radial polynomial: center 140.25,1.5 coefficients polynomial 1 -0.002 3e-06");
}

TEST(RadialVignetting, withoutACentreThePrincipalPointIsUsedAxisByAxis) {
    CameraParams camera;
    camera.width = 5;
    camera.height = 3;
    camera.principalPointX = 2.0;
    camera.principalPointY = 1.0;
    VignettingData data = description(VignettingType::RadialPolynomial, Eigen::Vector2d(0.0, 1.0));
    data.centerX = 4.0;
    const BandMatrix map = createVignettingModel(data, camera)->map();
    EXPECT_EQ(map(1, 4), 0.0F);
    EXPECT_EQ(map(1, 1), 3.0F);
}

TEST(RadialVignetting, trailingZerosAreDroppedAndNothingIsOneZero) {
    const auto text = [](Eigen::VectorXd k) {
        return printed(VignettingModelRadialPolynomial(k, 2, 2, 0.5, 0.5));
    };
    EXPECT_EQ(text(Eigen::Vector3d(1, 0, 0)),
              "Radial polynomial: center 0.5,0.5 coefficients polynomial 1");
    EXPECT_EQ(text(Eigen::Vector3d(0, 0, 0)),
              "Radial polynomial: center 0.5,0.5 coefficients polynomial 0");
    EXPECT_EQ(text(Eigen::VectorXd()),
              "Radial polynomial: center 0.5,0.5 coefficients polynomial 0");
    EXPECT_EQ(text(Eigen::Vector3d(1, std::nan(""), 0)),
              "Radial polynomial: center 0.5,0.5 coefficients polynomial 1 nan");
}

TEST(PolynomialVignetting2D, rowsArePowersOfXAndColumnsOfY) {
    CameraParams camera;
    camera.width = 5;
    camera.height = 3;
    Eigen::MatrixXd C(3, 2);
    C << 1.0, 0.5, 0.25, -1.0, 0.0, 2.0;
    const VignettingData data = description(VignettingType::Polynomial2D, C);
    const auto model = createVignettingModel(data, camera);
    const BandMatrix map = model->map();
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 5; ++c) {
            const double x = c / 5.0;
            const double y = r / 3.0;
            EXPECT_NEAR(map(r, c), 1 + 0.25 * x + (0.5 - x + 2 * x * x) * y, 2e-7);
        }
    }
    EXPECT_EQ(printed(*model).substr(0, 43), "2D polynomial: image size 5x3 polynomial2d\n");
}

TEST(SequoiaVignetting, enlargesTheRowFieldsOneByOne) {
    CameraParams camera;
    camera.width = 16;
    camera.height = 16;
    Eigen::MatrixXd grid(4, 4);
    grid << 1, 1, 1, 1, 5, 5, 5, 5, 2, 2, 2, 2, 7, 7, 7, 7;
    const VignettingData data = description(VignettingType::Sequoia, grid);
    const BandMatrix map = createVignettingModel(data, camera)->map();
    ASSERT_EQ(map.rows(), 16);
    ASSERT_EQ(map.cols(), 16);
    // Even rows run from 1 to 2, odd ones from 5 to 7: never mixed.
    EXPECT_FLOAT_EQ(map(0, 3), 1.0F);
    EXPECT_FLOAT_EQ(map(1, 3), 5.0F);
    EXPECT_FLOAT_EQ(map(14, 0), 2.0F);
    EXPECT_FLOAT_EQ(map(15, 15), 7.0F);
    for (int r = 0; r < 16; r += 2) {
        EXPECT_GE(map(r, 5), 0.9F);
        EXPECT_LE(map(r, 5), 2.1F);
        EXPECT_GE(map(r + 1, 5), 4.8F);
    }
}

TEST(SequoiaVignetting, refusesGridsThatDoNotFit) {
    CameraParams camera;
    camera.width = 16;
    camera.height = 16;
    const VignettingData uneven = description(VignettingType::Sequoia, Eigen::MatrixXd::Ones(4, 5));
    EXPECT_EQ(test::messageOf<error>([&] { (void)createVignettingModel(uneven, camera)->map(); }),
              "Sequoia vignetting model: matrix (16,16) cannot be divided in blocks of (4,5)");
    const VignettingData tiny = description(VignettingType::Sequoia, Eigen::MatrixXd::Ones(2, 2));
    EXPECT_NE(test::messageOf<std::runtime_error>([&] {
                  (void)createVignettingModel(tiny, camera)->map();
              }).find("Input matrix must be at least 2x2"),
              std::string::npos);
}

TEST(NoVignetting, anUnknownTypeIsOnes) {
    CameraParams camera;
    camera.width = 2;
    camera.height = 3;
    const auto model = createVignettingModel(
        description(static_cast<VignettingType>(9), Eigen::MatrixXd::Ones(2, 2)), camera);
    EXPECT_EQ(model->map(), BandMatrix::Ones(3, 2));
    EXPECT_EQ(printed(*model), "None");
}

TEST(GenericDarkCurrent, aConstantFillsTheImageAndAPatternRepeats) {
    ExifInfo exif = test::plainExif(5, 5, 2);
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 64), Eigen::MatrixXd::Constant(2, 2, 32)};
    const BandImage constant = DarkCurrentModelBase(exif).map();
    ASSERT_EQ(constant.size(), 2U);
    EXPECT_EQ(constant[0], BandMatrix::Constant(5, 5, 64));
    EXPECT_EQ(constant[1], BandMatrix::Constant(5, 5, 32));
    EXPECT_EQ(printed(DarkCurrentModelBase(exif)), "Exif: [64] [32 32 32 32] ");

    exif.bandCount = 1;
    Eigen::MatrixXd pattern(2, 2);
    pattern << 1, 2, 3, 4;
    exif.darkLevels = {pattern};
    const BandImage repeated = DarkCurrentModelBase(exif).map();
    ASSERT_EQ(repeated.size(), 1U);
    EXPECT_EQ(repeated[0], test::band(4, 4, {1, 2, 1, 2, 3, 4, 3, 4, 1, 2, 1, 2, 3, 4, 3, 4}));
}

TEST(GenericDarkCurrent, entriesThatAreNotOneABandAreRefusedWithAWarning) {
    ExifInfo exif = test::plainExif(5, 5, 3);
    exif.darkLevels.assign(2, Eigen::MatrixXd::Constant(1, 1, 64));
    const test::LogCapture log;
    EXPECT_TRUE(DarkCurrentModelBase(exif).map().empty());
    EXPECT_EQ(log.count(logging::kWarning,
                        "Inconsistent meta-data: 3 bands but dark current has 2entries"),
              1);
}

TEST(Logging, whatOnlyAMessageNeedsIsNotComputedForALevelThatIsNotTaken) {
    const test::LogCapture log(logging::kWarning);
    int evaluated = 0;
    const auto costly = [&evaluated] { return ++evaluated; };
    TESSIK_LOG(logging::kInfo) << costly();
    EXPECT_EQ(evaluated, 0);
    TESSIK_LOG(logging::kWarning) << "value " << costly();
    EXPECT_EQ(log.count(logging::kWarning, "value 1"), 1);
    EXPECT_STREQ(log.records().front().where.file, "MapsTest.cpp");
}

/// What the maps of an image are made from.
struct Making {
    Making() {
        setup.image.exif.darkLevels = {Eigen::MatrixXd::Constant(2, 1, 100.0)};
        setup.image.exif.iso = 100;
        setup.image.exif.sensorTemperature = 20.0;
        setup.camera.vignetting =
            description(VignettingType::RadialPolynomial, Eigen::Vector2d(1.0, -0.01));
        model.darkCurrent.dark = sequoia::ParameterMatrix::Constant(4, 6, 2.0);
        model.darkCurrent.temperatureCoefficient = 0.1;
        model.cmos.vignetting = sequoia::ParameterMatrix::Constant(4, 6, 0.5);
    }
    [[nodiscard]] std::string key(bool isDark, bool hasModel) const {
        const auto* used = hasModel ? &model : nullptr;
        return isDark ? datasource::darkCurrentKey(setup.image.exif, used)
                      : datasource::vignettingKey(setup.camera, 2.8, used);
    }
    [[nodiscard]] BandImage map(bool isDark, bool hasModel) const {
        const auto* used = hasModel ? &model : nullptr;
        if (isDark) {
            const auto source = datasource::createDarkCurrentSource(setup.image.exif, used);
            return dynamic_cast<const datasource::DarkCurrentModel&>(*source).darkCurrentMap();
        }
        const auto source = datasource::createVignettingSource(setup.camera, 2.8, used);
        return {dynamic_cast<const datasource::VignettingModel&>(*source).inverseVignettingMap()};
    }

    test::ImageSetup setup{test::plainExif(6, 4)};
    sequoia::ModelParameter model;
};

TEST(MapKeys, areAnotherOneWhereverTheMapIs) {
    using Change = void (*)(Making&);
    const Change changes[] = {
        [](Making& m) { m.setup.image.exif.darkLevels[0](1, 0) = 101.0; },
        [](Making& m) { m.setup.image.exif.darkLevels[0] = Eigen::RowVector2d(100.0, 101.0); },
        [](Making& m) { m.setup.image.exif.imageWidth = 12; },
        [](Making& m) { m.setup.image.exif.imageHeight = 8; },
        [](Making& m) { m.setup.image.exif.iso = 200; },
        [](Making& m) { m.setup.image.exif.sensorTemperature = 21.0; },
        [](Making& m) { m.setup.camera.width = 12, m.setup.camera.height = 8; },
        [](Making& m) { m.setup.camera.principalPointX += 1.0; },
        [](Making& m) { m.setup.camera.principalPointY += 1.0; },
        [](Making& m) { m.setup.camera.vignetting.centerX = 2.0; },
        [](Making& m) { m.setup.camera.vignetting.centerY = 1.0; },
        [](Making& m) { m.setup.camera.vignetting.type = VignettingType::Polynomial2D; },
        [](Making& m) { m.setup.camera.vignetting.coefficients(1, 0) = -0.02; }};
    int different = 0;
    for (const bool isDark : {true, false}) {
        for (const bool hasModel : {true, false}) {
            Making making; // one place: a model is known by its own
            const std::string key = making.key(isDark, hasModel);
            const BandImage map = making.map(isDark, hasModel);
            for (const Change& change : changes) {
                making = Making();
                change(making);
                const BandMatrix changed = making.map(isDark, hasModel).front();
                const bool isSame = changed.rows() == map.front().rows() &&
                                    changed.cols() == map.front().cols() && changed == map.front();
                EXPECT_TRUE(isSame || making.key(isDark, hasModel) != key)
                    << isDark << hasModel << " " << (&change - changes);
                different += isSame ? 0 : 1;
            }
        }
    }
    EXPECT_EQ(different, 14);
    const Making one;
    const Making other;
    EXPECT_EQ(one.key(true, false), other.key(true, false));
    EXPECT_EQ(one.key(false, false), other.key(false, false));
    EXPECT_NE(one.key(true, true), other.key(true, true)); // another model
}

} // namespace
} // namespace tessik::radiometry
