// Flights whose light sensor, panel and camera have the faults of real ones.
#include "flight/plan/PlanFile.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace tessik::flight {
namespace {

using testing::HasSubstr;

/// Plans a RedEdge flight of 48 captures, with a panel before and after it.
Plan planOf(const test::TemporaryFolder& folder,
            simulate::Sky sky,
            const std::function<void(simulate::FlightOptions&)>& change = {},
            LightChoice light = LightChoice::Steady) {
    simulate::FlightOptions flight;
    flight.captures = 48;
    flight.intervalSeconds = 4.0;
    flight.width = 160;
    flight.height = 120;
    flight.hasTruth = false;
    flight.hasPanel = true;
    flight.sky = sky;
    if (change) {
        change(flight);
    }
    simulate::renderFlight(folder.path() / "flight", flight);
    PlanOptions options;
    options.flight.inputs = {(folder.path() / "flight" / "images").string()};
    options.flight.looksForClipLimits = false;
    options.flight.jobs = 2;
    options.project.light = light;
    Observer nobody;
    return makePlan(options, nobody);
}

const RigLight& lightOf(const Plan& plan) {
    return plan.decisions.project.lights.at(0);
}

std::string said(const Plan& plan) {
    std::string text;
    for (const Warning& warning : plan.warnings) {
        text += warning.text + "\n";
    }
    return text;
}

TEST(FaultyLight, aLeaningSensorIsLevelledAndSteadied) {
    const test::TemporaryFolder folder;
    const Plan plan = planOf(folder, simulate::Sky::Clear, [](simulate::FlightOptions& flight) {
        flight.clearSky.mountErrorRoll = 3.0;
        flight.clearSky.sensorJitter = 0.01;
    });
    const RigLight& light = lightOf(plan);
    EXPECT_EQ(light.sky.state, SkyState::Clear);
    EXPECT_EQ(static_cast<int>(light.type), 4);
    EXPECT_THAT(light.typeReason, HasSubstr("as read"));
    ASSERT_TRUE(light.isSteady && light.mount && light.jitterRaw && light.jitterSteady);
    EXPECT_NEAR(light.mount->right * 57.3, 3.0, 1.0);
    EXPECT_LT(*light.jitterSteady, 0.3 * *light.jitterRaw);
    // The plan keeps all of it.
    writePlan(plan, folder.path() / "plan.json");
    const Plan read = readPlan(folder.path() / "plan.json");
    EXPECT_EQ(headJson(read), headJson(plan));
    EXPECT_EQ(read.images.front().sunIrradiance, plan.images.front().sunIrradiance);
    EXPECT_FALSE(plan.images.front().sunIrradiance.empty());
}

TEST(FaultyLight, underOtherSkiesTheReadingsSaySo) {
    const test::TemporaryFolder broken;
    EXPECT_EQ(lightOf(planOf(broken, simulate::Sky::Broken)).sky.state, SkyState::Broken);
    const test::TemporaryFolder overcast;
    const Plan plan = planOf(overcast, simulate::Sky::Overcast, {}, LightChoice::Raw);
    EXPECT_EQ(lightOf(plan).sky.state, SkyState::Overcast);
    for (const auto& [band, fraction] : plan.decisions.project.sunlight.fractions) {
        EXPECT_EQ(fraction, 0.0);
    }
    EXPECT_FALSE(lightOf(plan).isSteady);
    EXPECT_TRUE(plan.images.front().sunIrradiance.empty());
}

TEST(FaultyLight, aSensorShadedAtThePanelIsReplacedByTheLightInFlight) {
    const test::TemporaryFolder folder;
    const Plan plan = planOf(folder, simulate::Sky::Clear, [](simulate::FlightOptions& flight) {
        flight.clearSky.sensorShade = 0.6;
        flight.clearSky.drift = 0.0;
    });
    ASSERT_EQ(plan.witnesses.size(), 10U);
    EXPECT_LT(plan.witnesses.front().sensorRatio(), 0.85);
    EXPECT_THAT(said(plan), HasSubstr("tied to the light of the captures next to it"));
    for (const auto& [camera, sensitivity] : plan.decisions.sensitivities) {
        EXPECT_EQ(sensitivity.kind, "target");
        EXPECT_NEAR(sensitivity.values.front() / 655.36, 1.0, 0.02); // as the simulator has it
    }
    for (const auto& [camera, bands] : plan.uncertainties) {
        EXPECT_GT(bands.front().of(UncertaintyTerm::Kind::Systematic), 0.02);
    }
}

TEST(FaultyLight, aTiltedPanelIsNotUsedSilently) {
    const test::TemporaryFolder folder;
    const Plan plan = planOf(folder, simulate::Sky::Clear, [](simulate::FlightOptions& flight) {
        flight.clearSky.panelTiltDegrees = 30.0;
        flight.clearSky.drift = 0.0;
    });
    EXPECT_THAT(said(plan), HasSubstr("it was tilted to the sun"));
    for (const auto& [camera, sensitivity] : plan.decisions.sensitivities) {
        EXPECT_EQ(sensitivity.kind, "maker");
    }
    // Nothing systematic is known then, which is not the same as none.
    for (const auto& [camera, bands] : plan.uncertainties) {
        EXPECT_TRUE(std::isnan(bands.front().of(UncertaintyTerm::Kind::Systematic)));
    }
}

TEST(FaultyLight, aSensitivityThatDriftsIsInterpolatedBetweenThePanels) {
    const test::TemporaryFolder folder;
    const Plan plan = planOf(folder, simulate::Sky::Clear, [](simulate::FlightOptions& flight) {
        flight.sensitivityDrift = 0.08;
    });
    for (const auto& [camera, sensitivity] : plan.decisions.sensitivities) {
        ASSERT_EQ(sensitivity.course.size(), 2U);
        const double change =
            sensitivity.course[1].values.front() / sensitivity.course[0].values.front();
        EXPECT_NEAR(change, 1.08, 0.03);
    }
}

} // namespace
} // namespace tessik::flight
