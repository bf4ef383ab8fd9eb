#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"
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

struct RowsCase {
    const char* name;
    std::vector<Eigen::Index> odd; ///< indices of the values that differ
    Eigen::Index rowPeriod;
};

void PrintTo(const RowsCase& test, std::ostream* stream) {
    *stream << test.name;
}

BandMatrix mapOf(const RowsCase& test) {
    BandMatrix map = BandMatrix::Constant(4, 5, 100.0F);
    for (const Eigen::Index index : test.odd) {
        map.data()[index] = 140.0F;
    }
    return map;
}

class DarkMap : public testing::TestWithParam<RowsCase> {};

/// Values just above the dark level stay and lose it, those at it do not, wherever in the map they
/// are and whether or not the map is one number.
TEST_P(DarkMap, isTheLeastValidValueAndWhatIsSubtractedAtEachPixel) {
    const BandMatrix map = mapOf(GetParam());
    const auto source = std::make_shared<datasource::DarkCurrentModel>(GivenModel(map));
    EXPECT_EQ(source->maps()->rowPeriods.front(), GetParam().rowPeriod);

    const test::ImageSetup setup(test::plainExif(5, 4));
    auto sources = setup.sources(CorrectionType::CameraOnly);
    sources.push_back(source);
    for (const float above : {0.0F, 3.0F}) {
        for (const Eigen::Vector2i& offset : {Eigen::Vector2i(0, 0), Eigen::Vector2i(2, 1)}) {
            const BandMatrix block = map.bottomRightCorner(4 - offset[1], 5 - offset[0]);
            BandImage bands = {(block.array() + above).matrix()};
            corrector::BadExposureMasking masking;
            corrector::DarkCurrent subtraction;
            EXPECT_TRUE(test::run(masking, sources, bands, offset));
            EXPECT_TRUE(test::run(subtraction, sources, bands, offset));
            const auto values = bands.front().array();
            EXPECT_TRUE(above == 0.0F ? values.isNaN().all() : (values == above).all()) << values;
        }
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

TEST(DarkMap, outlivesTheSourceThatACorrectorWasFedFrom) {
    BandImage bands = {test::ramp(2, 3, 100.0F)};
    const BandMatrix expected = test::ramp(2, 3, 0.0F);
    corrector::DarkCurrent subtraction;
    subtraction.useData(datasource::DarkCurrentModel(GivenModel(BandMatrix::Constant(2, 3, 100))));
    subtraction.correct(bands, {0, 0});
    EXPECT_EQ(bands.front(), expected);
}

INSTANTIATE_TEST_SUITE_P(Maps,
                         DarkMap,
                         testing::Values(RowsCase{"constant", {}, 1},
                                         RowsCase{"firstDiffers", {0}, 4},
                                         RowsCase{"middleDiffers", {8}, 3},
                                         RowsCase{"lastDiffers", {19}, 4},
                                         RowsCase{"columnDiffers", {2, 7, 12, 17}, 1},
                                         RowsCase{"everySecondRowDiffers", {5, 8, 15, 18}, 2}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace tessik::radiometry
