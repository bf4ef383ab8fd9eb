#include "radiometry/DarkCurrentModel.h"
#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <utility>

namespace tessik::radiometry {
namespace {

/// A map as it is given.
class GivenModel final : public IDarkCurrentModel {
public:
    explicit GivenModel(BandMatrix map) : m_map(std::move(map)) {}
    [[nodiscard]] BandImage map() const override { return {m_map}; }
    void print(std::ostream& /*os*/) const override {}

private:
    BandMatrix m_map;
};

struct Case {
    const char* name;
    Eigen::Index odd; ///< index of the one value that differs, -1 = none does
    bool isConstant;
};

BandMatrix mapOf(const Case& test) {
    BandMatrix map = BandMatrix::Constant(3, 5, 100.0F);
    if (test.odd >= 0) {
        map.data()[test.odd] = 140.0F;
    }
    return map;
}

class DarkMap : public testing::TestWithParam<Case> {};

/// Values just above the dark level stay and lose it, those at it do not, wherever in the map they
/// are and whether or not the map is one number.
TEST_P(DarkMap, isTheLeastValidValueAndWhatIsSubtractedAtEachPixel) {
    const BandMatrix map = mapOf(GetParam());
    const auto source = std::make_shared<datasource::DarkCurrentModel>(GivenModel(map));
    EXPECT_EQ(source->constantLevels().front().has_value(), GetParam().isConstant);

    const test::ImageSetup setup(test::plainExif(5, 3));
    auto sources = setup.sources(CorrectionType::CameraOnly);
    sources.push_back(source);
    for (const float above : {0.0F, 3.0F}) {
        BandImage bands = {(map.array() + above).matrix()};
        corrector::BadExposureMasking masking;
        corrector::DarkCurrent subtraction;
        EXPECT_TRUE(test::run(masking, sources, bands));
        EXPECT_TRUE(test::run(subtraction, sources, bands));
        const auto values = bands.front().array();
        EXPECT_TRUE(above == 0.0F ? values.isNaN().all() : (values == above).all()) << values;
    }
}

TEST_P(DarkMap, aResultBelowZeroIsWarnedOfWhereverItIs) {
    const BandMatrix map = mapOf(GetParam());
    const std::vector<datasource::DataSourcePointer> sources = {
        std::make_shared<datasource::DarkCurrentModel>(GivenModel(map))};
    for (Eigen::Index dim = -1; dim < map.size(); ++dim) {
        BandImage bands = {map};
        if (dim >= 0) {
            bands.front().data()[dim] -= 1.0F;
        }
        const test::LogCapture log;
        corrector::DarkCurrent subtraction;
        test::run(subtraction, sources, bands);
        EXPECT_EQ(log.count(logging::kWarning,
                            "Negative pixel value(s) found after dark current correction"),
                  dim >= 0 ? 1 : 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Maps,
                         DarkMap,
                         testing::Values(Case{"constant", -1, true},
                                         Case{"firstDiffers", 0, false},
                                         Case{"middleDiffers", 8, false},
                                         Case{"lastDiffers", 14, false}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace tessik::radiometry
