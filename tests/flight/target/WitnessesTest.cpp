#include "flight/target/Witnesses.h"

#include "flight/target/Sensitivity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessik::flight {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// Five bands; sensor and panel relative to the clear sky.
std::vector<Witness> bandsOf(const std::vector<double>& sensor, const std::vector<double>& panel) {
    const std::vector<double> wavelengths = {475.0, 560.0, 668.0, 717.0, 840.0};
    std::vector<Witness> bands;
    for (std::size_t b = 0; b < wavelengths.size(); ++b) {
        Witness& band = bands.emplace_back();
        band.wavelengthNm = wavelengths[b];
        band.clearSky = 1.2;
        band.isAbsolute = true;
        if (!sensor.empty()) {
            band.sensor = 1.2 * sensor[b];
        }
        if (!panel.empty()) {
            band.panel = 1.2 * panel[b];
        }
    }
    return bands;
}

struct Case {
    const char* name;
    std::vector<double> sensor;
    std::vector<double> panel;
    bool contradictsPanel;
    bool contradictsSensor;
    const char* text; ///< empty = nothing is said
};

TEST(Witnesses, areJudgedByTheSky) {
    const std::vector<Case> cases = {
        {"clear sky",
         {0.95, 0.97, 0.96, 0.94, 0.96},
         {0.98, 0.96, 0.99, 1.0, 1.0},
         false,
         false,
         ""},
        {"thin cloud",
         {0.42, 0.38, 0.37, 0.33, 0.32},
         {0.35, 0.33, 0.32, 0.29, 0.31},
         false,
         false,
         ""},
        {"tilted panel",
         {0.97, 0.97, 0.96, 0.97, 0.96},
         {1.40, 1.44, 1.45, 1.42, 1.46},
         true,
         false,
         "tilted to the sun"},
        {"tilted panel, shaded sensor",
         {0.86, 0.82, 0.80, 0.72, 0.69},
         {1.40, 1.5, 1.5, 1.45, 1.5},
         true,
         true,
         "shaded"},
        {"shaded sensor",
         {0.83, 0.79, 0.74, 0.71, 0.69},
         {0.95, 0.97, 0.98, 1.0, 1.05},
         false,
         true,
         "shaded"},
        {"covered sensor, overcast",
         {0.23, 0.20, 0.20, 0.19, 0.18},
         {0.33, 0.33, 0.31, 0.29, 0.29},
         false,
         false,
         "cannot tell"},
        {"shadow on the panel",
         {0.97, 0.97, 0.96, 0.97, 0.97},
         {0.6, 0.6, 0.6, 0.6, 0.6},
         true,
         false,
         "shadow"},
        {"half a sensor",
         {0.6, 0.6, 0.6, 0.6, 0.6},
         {1.0, 1.0, 1.0, 1.0, 1.0},
         false,
         true,
         "no more than the clear sky"},
        {"no sensor", {}, {0.98, 0.98, 0.98, 0.98, 0.98}, false, false, ""},
        {"unknown camera", {0.95, 0.95, 0.95, 0.95, 0.95}, {}, false, false, ""},
    };
    for (const Case& one : cases) {
        const Verdict verdict = judge(bandsOf(one.sensor, one.panel));
        EXPECT_EQ(verdict.contradictsPanel, one.contradictsPanel) << one.name;
        EXPECT_EQ(verdict.contradictsSensor, one.contradictsSensor) << one.name;
        if (*one.text == '\0') {
            EXPECT_THAT(verdict.text, IsEmpty()) << one.name;
        } else {
            EXPECT_THAT(verdict.text, HasSubstr(one.text)) << one.name;
        }
    }
}

TEST(Witnesses, comeBackAsTheyWereWritten) {
    Witness witness = bandsOf({0.9, 0.9, 0.9, 0.9, 0.9}, {}).front();
    witness.path = "a.tif";
    witness.time = 1.6e9 + 0.25;
    witness.cameraId = 12345678901234567890U;
    witness.verdict = "said";
    const Json json = toJson(witness);
    const Witness read = witnessOf(JsonReader(json, "plan.json"));
    EXPECT_EQ(toJson(read), json);
    EXPECT_TRUE(std::isnan(read.panel));
}

TEST(Sensitivity, changesInProportionToTime) {
    Sensitivity sensitivity{{5.0}, "target", "two panels", {{100.0, {4.0}}, {200.0, {6.0}}}};
    EXPECT_EQ(sensitivity.at(50.0), std::vector<double>{4.0});
    EXPECT_EQ(sensitivity.at(150.0), std::vector<double>{5.0});
    EXPECT_EQ(sensitivity.at(175.0), std::vector<double>{5.5});
    EXPECT_EQ(sensitivity.at(300.0), std::vector<double>{6.0});
    sensitivity.course.clear();
    EXPECT_EQ(sensitivity.at(50.0), std::vector<double>{5.0});
}

} // namespace
} // namespace tessik::flight
