#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/BasicOpticalCamera.h"
#include "radiometry/corrector/ColorMatrix.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV1.h"
#include "radiometry/corrector/Vignetting.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

namespace tessik::radiometry::corrector {
namespace {

using datasource::DataSourcePointer;
using test::ImageSetup;
using test::LogCapture;

// 46 rows a tile, the last one cut off.
constexpr std::uint64_t kWidth = 700;
constexpr std::uint64_t kHeight = 130;
constexpr auto kType = CorrectionType::CameraAndSunIrradiance;

ImageSetup redEdge() {
    ExifInfo exif = test::redEdgeExif(kWidth, kHeight);
    exif.sunIrradiance = {1.25};
    return ImageSetup(exif);
}

/// What each step in turn leaves of the whole image, up to the one that fails.
BandImage
stepByStep(const Chain& chain, const std::vector<DataSourcePointer>& sources, BandImage bands) {
    try {
        for (const auto& step : chain) {
            feed(*step, sources);
            step->correct(bands, {0, 0});
        }
    } catch (const std::runtime_error&) {
        return bands;
    }
    return bands;
}

bool isSame(const BandImage& a, const BandImage& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.size() == y.size() &&
               std::memcmp(
                   x.data(), y.data(), static_cast<std::size_t>(x.size()) * sizeof(float)) == 0;
    });
}

TEST(Pipeline, givesTheBitsOfOneStepAfterTheOtherAtEveryLogLevel) {
    const ImageSetup setup = redEdge();
    const auto sources = setup.sources(kType, {655.36});
    const BandImage raw = {test::redEdgeBand(kWidth, kHeight, 3)};
    const BandImage expected = stepByStep(create(setup.image.exif), sources, raw);
    for (const int level : {logging::kInfo, logging::kWarning}) {
        const LogCapture log(level);
        BandImage bands = raw;
        apply(create(setup.image.exif), sources, bands, {0, 0});
        EXPECT_TRUE(isSame(bands, expected)) << level;
    }
}

TEST(Pipeline, afterAnErrorTheStepsBeforeHaveActedOnAllPixelsAndThoseAfterOnNone) {
    struct Case {
        const char* why;
        std::function<void(ImageSetup&)> spoil;
        std::vector<double> sensitivity;
    };
    const std::vector<Case> cases = {
        {"the last but one", [](ImageSetup&) {}, {1.0, 2.0}},
        {"irradiance", [](ImageSetup& s) { s.image.exif.sunIrradiance.clear(); }, {}},
        {"camera",
         [](ImageSetup& s) {
             s.image.exif.bandCount = 2;
             s.image.exif.darkLevels.clear();
         },
         {}},
        {"dark level", [](ImageSetup& s) { s.image.exif.darkLevels.resize(2); }, {}},
        {"vignetting", [](ImageSetup& s) { s.camera.height = kHeight / 2; }, {}},
        {"no column", [](ImageSetup& s) { s.camera.width = 0; }, {}}};
    const BandImage raw = {test::redEdgeBand(kWidth, kHeight, 3)};
    for (const Case& c : cases) {
        ImageSetup setup = redEdge();
        setup.image.exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 4800.0)};
        c.spoil(setup);
        const auto sources = setup.sources(kType, c.sensitivity);
        BandImage bands = raw;
        EXPECT_NE(test::messageOf<error>([&] {
                      apply(create(setup.image.exif), sources, bands, {0, 0});
                  }),
                  "no error")
            << c.why;
        EXPECT_TRUE(isSame(bands, stepByStep(create(setup.image.exif), sources, raw))) << c.why;
        EXPECT_FALSE(isSame(bands, raw)) << c.why;
    }
}

/// A corrector of an application: looks at the bands whenever it is called.
class Witness : public ICorrector {
public:
    explicit Witness(const BandImage& bands, bool isActing = true)
        : m_bands(bands), m_isActing(isActing) {}

    using ICorrector::useData;
    void useData(const datasource::Sensor& /*source*/) override { seen.push_back(m_bands); }

    mutable std::vector<BandImage> seen;
    mutable int questions = 0;

protected:
    [[nodiscard]] bool isApplicable() const override {
        seen.push_back(m_bands);
        ++questions;
        return m_isActing;
    }
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override {
        seen.push_back(bands);
        bands[0](0, 0) += static_cast<float>(blockOffset[0] * 10 + blockOffset[1]);
    }

private:
    const BandImage& m_bands;
    bool m_isActing;
};

TEST(Pipeline, anApplicationsCorrectorIsFedAskedOnceAndRunWhenAllBeforeItHaveActed) {
    const ImageSetup setup = redEdge();
    const auto sources = setup.sources(kType);
    BandImage bands = {test::redEdgeBand(kWidth, kHeight, 3)};
    std::vector<BandImage> expected;
    Chain chain = create(setup.image.exif);
    std::vector<const Witness*> witnesses;
    for (std::size_t place = 0; place <= chain.size(); place += 2) {
        auto witness = std::make_unique<Witness>(bands, place % 4 == 0);
        witnesses.push_back(witness.get());
        chain.insert(chain.begin() + static_cast<std::ptrdiff_t>(place), std::move(witness));
    }
    BandImage steps = bands;
    for (const auto& step : chain) {
        if (dynamic_cast<const Witness*>(step.get()) != nullptr) {
            expected.push_back(steps);
            continue;
        }
        feed(*step, sources);
        step->correct(steps, {0, 0});
    }
    apply(chain, sources, bands, {0, 0});
    for (std::size_t i = 0; i < witnesses.size(); ++i) {
        EXPECT_EQ(witnesses[i]->questions, 1);
        EXPECT_EQ(witnesses[i]->seen.size(), i % 2 == 0 ? 3U : 2U);
        for (const BandImage& seen : witnesses[i]->seen) {
            EXPECT_TRUE(isSame(seen, expected[i])) << i;
        }
    }
}

TEST(Pipeline, handsOnTheBlocksPlaceAndFeedsThoseThatDoNotActToo) {
    BandImage bands = {BandMatrix::Zero(1, 1)};
    Chain chain;
    chain.push_back(std::make_unique<Witness>(bands, false));
    chain.push_back(std::make_unique<Witness>(bands, true));
    apply(chain, ImageSetup(test::plainExif(1, 1)).sources(kType), bands, {3, 4});
    EXPECT_EQ(bands[0](0, 0), 34.0F);
    EXPECT_EQ(dynamic_cast<Witness&>(*chain[0]).seen.size(), 2U);
}

/// A source of an application, which looks at the bands when a corrector is fed from it.
class WitnessSource final : public datasource::IDataSource {
public:
    explicit WitnessSource(const BandImage& bands) : m_bands(bands) {}
    void accept(ICorrector& /*corrector*/) const override { seen.push_back(m_bands); }
    mutable std::vector<BandImage> seen;

private:
    const BandImage& m_bands;
};

TEST(Pipeline, anApplicationsSourceIsAskedWhenAllStepsBeforeHaveActed) {
    const ImageSetup setup = redEdge();
    auto sources = setup.sources(kType);
    BandImage bands = {test::redEdgeBand(kWidth, kHeight, 3)};
    BandImage steps = bands;
    const auto witness = std::make_shared<WitnessSource>(bands);
    sources.push_back(witness);
    apply(create(setup.image.exif), sources, bands, {0, 0});
    const Chain chain = create(setup.image.exif);
    const auto kept = setup.sources(kType); // correctors refer to them
    ASSERT_EQ(witness->seen.size(), chain.size());
    for (std::size_t i = 0; i < chain.size(); ++i) {
        EXPECT_TRUE(isSame(witness->seen[i], steps)) << i;
        feed(*chain[i], kept);
        chain[i]->correct(steps, {0, 0});
    }
}

/// What an application makes of a corrector of the library.
class HalfDark : public DarkCurrent {
public:
    using DarkCurrent::apply;
    using DarkCurrent::isApplicable;

protected:
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override {
        const BandImage before = bands;
        DarkCurrent::apply(bands, blockOffset);
        bands[0] = 0.5F * (bands[0] + before[0]);
    }
};

template <typename Base>
struct Opened : Base {
    using Base::apply;
    using Base::isApplicable;
};

TEST(Pipeline, aClassDerivedFromACorrectorActsInItsOwnWay) {
    ExifInfo exif = test::plainExif(3, 2);
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 100.0)};
    exif.exposureTime = 0.5;
    const ImageSetup setup(exif);
    Chain chain;
    chain.push_back(std::make_unique<BadExposureMasking>());
    chain.push_back(std::make_unique<HalfDark>());
    chain.push_back(std::make_unique<BasicOpticalCamera>());
    BandImage bands = {test::ramp(2, 3, 200.0F)};
    apply(chain, setup.sources(kType), bands, {0, 0});
    EXPECT_EQ(bands[0], test::ramp(2, 3, 150.0F) * 2.0F);

    Opened<BasicOpticalCamera> camera;
    EXPECT_FALSE(camera.isApplicable());
    feed(camera, setup.sources(kType));
    EXPECT_TRUE(camera.isApplicable());
    camera.apply(bands, {0, 0});
    EXPECT_EQ(bands[0], test::ramp(2, 3, 150.0F) * 4.0F);
    Opened<ColorMatrix> matrix;
    EXPECT_FALSE(matrix.isApplicable());
}

TEST(Pipeline, whatIsSaidComesInTheOrderOfTheSteps) {
    ExifInfo exif = test::plainExif(2, 1, 1);
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 100.0)};
    exif.cmosCorrection = {0.0}; // no exposure: the Sequoia's model warns when it is asked
    const ImageSetup setup(exif);
    const auto linesAt = [&setup](int level) {
        const LogCapture log(level);
        Chain chain;
        chain.push_back(std::make_unique<DarkCurrent>());
        chain.push_back(std::make_unique<BasicOpticalCamera>());
        chain.push_back(std::make_unique<ParrotSequoiaOpticalCameraV1>());
        chain.push_back(std::make_unique<DarkCurrent>());
        chain.push_back(std::make_unique<BasicOpticalCamera>());
        BandImage bands = {BandMatrix::Constant(1, 2, 50.0F)};
        apply(chain, setup.sources(kType), bands, {0, 0});
        std::vector<std::string> lines;
        for (const logging::Record& record : log.records()) {
            lines.push_back(record.text.substr(0, 11));
        }
        return lines;
    };
    const std::vector<std::string> step = {"Dark curren", "Negative pi", "Camera opti"};
    EXPECT_THAT(linesAt(logging::kWarning),
                testing::ElementsAre("Negative pi", "Missing or ", "Negative pi"));
    // The model of the dark current speaks when the sources are made.
    EXPECT_THAT(
        linesAt(logging::kInfo),
        testing::ElementsAre(
            "Dark curren", step[0], step[1], step[2], "Missing or ", step[0], step[1], step[2]));
}

TEST(Pipeline, hasNoErrorOfItsOwn) {
    BandImage uneven = {test::ramp(2, 3), test::ramp(3, 2)};
    const BandImage raw = uneven;
    ExifInfo exif = test::plainExif(3, 2, 2);
    exif.exposureTime = 0.5;
    const ImageSetup setup(exif);
    apply({}, {}, uneven, {0, 0});
    EXPECT_TRUE(isSame(uneven, raw));
    apply(create(exif), setup.sources(CorrectionType::CameraOnly), uneven, {0, 0});
    EXPECT_TRUE(isSame(uneven, {raw[0] * 2.0F, raw[1] * 2.0F}));
    // Whose work takes all bands of a pixel at a time, though, cannot do without them.
    exif.colorConversionMatrix = Eigen::Matrix2d::Identity();
    const ImageSetup leaking(exif);
    EXPECT_EQ(test::messageOf<error>([&] {
                  apply(create(exif), leaking.sources(kType), uneven, {0, 0});
              }),
              "Correcting for color matrix: bands differ in size");
}

} // namespace
} // namespace tessik::radiometry::corrector
