#include "flight/json/CorrectionWords.h"
#include "flight/plan/PlanFile.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

/// A RedEdge flight below a folder: 5 images a capture.
PlanOptions optionsFor(const TemporaryFolder& folder, std::size_t captures, bool hasPanel = false) {
    simulate::FlightOptions flight;
    flight.captures = captures;
    flight.width = 320;
    flight.height = 240;
    flight.hasTruth = false;
    flight.hasPanel = hasPanel;
    simulate::renderFlight(folder.path() / "flight", flight);
    PlanOptions options;
    options.flight.inputs = {(folder.path() / "flight" / "images").string()};
    return options;
}

std::vector<std::string> filesBelow(const fs::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        files.push_back(entry.path().string());
    }
    return files;
}

/// Keeps what it is told.
class Listener : public Observer {
public:
    void warning(const Warning& warning) override { said.push_back(warning.text); }
    std::vector<std::string> said;
};

TEST(Plan, comesBackAsItWasWritten) {
    const TemporaryFolder folder;
    PlanOptions options = optionsFor(folder, 2);
    options.project.type = kSunAngleAbsolute;
    options.project.sunlight = {SunlightChoice::Model::Number, 0.1 + 0.2};
    options.flight.sensorMount = Eigen::Vector3f(1.5F, -2.25F, 0.1F);
    options.targets = "none";
    Observer nobody;
    const Plan made = makePlan(options, nobody);
    const fs::path file = folder.path() / "plan.json";
    writePlan(made, file);
    const Plan read = readPlan(file);
    ASSERT_EQ(read.images.size(), 10U);
    for (std::size_t i = 0; i < read.images.size(); ++i) {
        EXPECT_EQ(read.images[i].path, made.images[i].path);
        EXPECT_EQ(read.images[i].output, made.images[i].output);
        EXPECT_EQ(read.images[i].cameraId, made.images[i].cameraId);
        EXPECT_EQ(read.decisions.fingerprint(read.images[i].cameraId),
                  made.decisions.fingerprint(made.images[i].cameraId));
    }
    EXPECT_EQ(read.decisions.project.center->latitude, made.decisions.project.center->latitude);
    EXPECT_EQ(read.decisions.project.sunlight.fractions, made.decisions.project.sunlight.fractions);
    EXPECT_TRUE(read.decisions.project.isTypeChosen);
}

TEST(Plan, itsWarningsAreThoseOfItsFlight) {
    const TemporaryFolder folder;
    PlanOptions options = optionsFor(folder, 1);
    options.flight.sensorMount = Eigen::Vector3f(180.0F, 0.0F, 0.0F);
    options.flight.jobs = 2;
    Listener listener;
    const Plan first = makePlan(options, listener);
    std::vector<std::string> texts;
    for (const Warning& warning : first.warnings) {
        texts.push_back(warning.text);
    }
    EXPECT_THAT(texts, Contains(HasSubstr("--sensor-mount: ")));
    EXPECT_THAT(texts, Contains(HasSubstr("no reflectance target was used")));
    EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), texts.size());
    EXPECT_EQ(std::set<std::string>(listener.said.begin(), listener.said.end()),
              std::set<std::string>(texts.begin(), texts.end()));
    // A second plan of the process knows nothing of the first.
    options.flight.sensorMount.reset();
    options.targets = "none";
    Observer nobody;
    for (const Warning& warning : makePlan(options, nobody).warnings) {
        EXPECT_THAT(warning.text, Not(HasSubstr("--sensor-mount")));
        EXPECT_THAT(warning.text, Not(HasSubstr("no reflectance target")));
    }
}

TEST(Plan, decidingWritesNothing) {
    const TemporaryFolder folder;
    const PlanOptions options = optionsFor(folder, 3, true);
    const std::vector<std::string> before = filesBelow(folder.path());
    Observer nobody;
    const Plan plan = makePlan(options, nobody);
    EXPECT_FALSE(plan.targets.empty());
    EXPECT_EQ(filesBelow(folder.path()), before);
}

} // namespace
} // namespace tessik::flight
