#include "app/Command.h"
#include "platform/exif/TagFile.h"
#include "platform/image/Raster.h"
#include "simulate/Compare.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <thread>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

/// A RedEdge flight below a new folder: 5 images a capture.
void renderFlight(const fs::path& folder, std::size_t captures) {
    simulate::FlightOptions options;
    options.captures = captures;
    options.width = 320;
    options.height = 240;
    options.hasTruth = false;
    simulate::renderFlight(folder / "flight", options);
}

/// Contents of the corrected images below a folder, by path.
std::map<std::string, std::string> outputsIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".tif") {
            files[entry.path().lexically_relative(folder).string()] = readAll(entry.path());
        }
    }
    return files;
}

/// The last record of each output.
std::map<std::string, Json> recordsIn(const fs::path& file) {
    std::map<std::string, Json> records;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        const Json record = Json::parse(line);
        records[record.at("output").get<std::string>()] = record;
    }
    return records;
}

TEST(FlightRun, partsOfAPlanGiveTheFilesOfOneRun) {
    const TemporaryFolder folder;
    renderFlight(folder.path(), 4);
    const Result planned = radiometry(folder, "plan flight/images -o plan.json");
    ASSERT_EQ(planned.status, 0) << planned.err;
    EXPECT_EQ(radiometry(folder, "correct flight/images -o whole").status, 0);
    std::string together;
    for (int part = 1; part <= 16; ++part) {
        const std::string arguments =
            " --plan plan.json -j 1 --part " + std::to_string(part) + "/16 -o ";
        EXPECT_EQ(radiometry(folder, "correct" + arguments + "apart").status, 0);
        together += "'" RADIOMETRY_COMMAND "' correct" + arguments + "together >/dev/null 2>&1 & ";
    }
    const std::string inFolder =
        "cd '" + folder.path().string() + "' && { " + together + " wait; }";
    EXPECT_EQ(std::system(inFolder.c_str()), 0); // NOLINT(concurrency-mt-unsafe)
    const auto whole = outputsIn(folder.path() / "whole");
    EXPECT_EQ(whole.size(), 20U);
    EXPECT_EQ(outputsIn(folder.path() / "apart"), whole);
    EXPECT_EQ(outputsIn(folder.path() / "together"), whole);
}

/// Starts the command, and kills it after a while. @return whether it was still running
bool runAndKill(const fs::path& folder, std::chrono::milliseconds delay) {
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(folder.c_str()) == 0 && std::freopen("/dev/null", "w", stdout) != nullptr) {
            execl(RADIOMETRY_COMMAND,
                  "radiometry",
                  "correct",
                  "-q",
                  "flight/images",
                  "-o",
                  "killed",
                  "-j",
                  "2",
                  nullptr);
        }
        _exit(1);
    }
    std::this_thread::sleep_for(delay);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status);
}

TEST(FlightRun, killedTwentyTimesItComesOutAsIfItHadNotBeen) {
    const TemporaryFolder folder;
    renderFlight(folder.path(), 40);
    EXPECT_EQ(radiometry(folder, "correct flight/images -o whole").status, 0);
    const auto whole = outputsIn(folder.path() / "whole");
    std::mt19937 random(7);
    std::uniform_int_distribution<int> delay(20, 700);
    int kills = 0;
    for (int i = 0; i < 20; ++i) {
        if (!runAndKill(folder.path(), std::chrono::milliseconds(delay(random)))) {
            fs::remove_all(folder.path() / "killed"); // it was done: begin again
            continue;
        }
        ++kills;
    }
    EXPECT_GT(kills, 5);
    EXPECT_EQ(radiometry(folder, "correct flight/images -o killed").status, 0);
    EXPECT_EQ(outputsIn(folder.path() / "killed"), whole); // temporary files would be among them
    EXPECT_EQ(recordsIn(folder.path() / "killed" / "corrections.jsonl").size(), whole.size());
}

TEST(FlightRun, withPanelsValuesAreTheReflectanceOfTheScene) {
    const TemporaryFolder folder;
    simulate::FlightOptions options;
    options.captures = 5;
    options.width = 320;
    options.height = 240;
    options.hasPanel = true;
    simulate::renderFlight(folder.path() / "flight", options);
    const Result result =
        radiometry(folder, "correct flight/images -o out --report out/report.html");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    for (const simulate::BandResult& band : simulate::compare(folder.path() / "flight",
                                                              folder.path() / "out",
                                                              simulate::Target::Reflectance,
                                                              simulate::Scale::One)) {
        EXPECT_LT(std::abs(band.bias), 0.3) << band.band;
        EXPECT_LT(std::abs(band.worstLevelBias.value_or(0.0)), 1.0) << band.band;
    }
    EXPECT_TRUE(fs::exists(folder.path() / "out" / "targets" / "IMG_0004_5.png"));
    EXPECT_THAT(readAll(folder.path() / "out" / "report.html"),
                testing::HasSubstr("data:image/png;base64"));
    // The plan's sensitivity, taken from a file, gives the same pixels.
    ASSERT_EQ(radiometry(folder,
                         "calibrate flight/images/IMG_0000_1.tif flight/images/IMG_0004_1.tif "
                         "-o cal.json")
                  .status,
              0);
    ASSERT_EQ(
        radiometry(folder, "correct flight/images/IMG_0002_1.tif -o file --sensitivity cal.json")
            .status,
        0);
    EXPECT_EQ((image::Raster::open(folder.file("file/IMG_0002_1.tif")).read()[0] -
               image::Raster::open(folder.file("out/IMG_0002_1.tif")).read()[0])
                  .norm(),
              0.0F);
    const Result other = radiometry(
        folder,
        "correct flight/images/IMG_0002_1.tif -o other --type camera --sensitivity cal.json");
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, testing::HasSubstr("--type irradiance"));
}

TEST(FlightRun, recordsSayWhatWasDoneToEachImage) {
    const TemporaryFolder folder;
    renderFlight(folder.path(), 1);
    std::ofstream(folder.path() / "flight" / "images" / "IMG_0000_2.tif") << "no image";
    const Result result = radiometry(folder, "correct flight/images -o out --type irradiance");
    EXPECT_EQ(result.status, 2);
    // Continued, nothing is lost and nothing said twice.
    std::ofstream(folder.path() / "out" / "corrections.jsonl", std::ios::app)
        << R"({"file":"cut o)";
    EXPECT_EQ(radiometry(folder, "correct flight/images -o out --type irradiance").status, 2);
    const auto records = recordsIn(folder.path() / "out" / "corrections.jsonl");
    EXPECT_EQ(records.size(), 4U);
    const Json& record = records.at("IMG_0000_1.tif");
    EXPECT_EQ(record.at("status"), "done");
    std::vector<std::string> names;
    std::map<std::string, Json> values;
    for (const Json& corrector : record.at("correctors")) {
        names.push_back(corrector.at("name"));
        values[names.back()] = corrector.at("values");
    }
    EXPECT_EQ(values.at("SunSensor").at("irradiance").at("numbers"), record.at("sun_irradiance"));
    EXPECT_EQ(values.at("ConvertNanToNodata").at("mean").at("numbers"), record.at("mean"));
    EXPECT_EQ(values.at("DarkCurrent").at("dark_level").at("unit"), "DN");
    EXPECT_GT(record.at("masked_pixels"), 0);
    EXPECT_THAT(names,
                testing::ElementsAre("BadPixelMasking",
                                     "BadExposureMasking",
                                     "DarkCurrent",
                                     "Vignetting",
                                     "MicaSenseRedEdgeOpticalCamera",
                                     "SunSensor",
                                     "CalibrationTarget",
                                     "ConvertNanToNodata"));
    EXPECT_EQ(record.at("sensitivity"), Json({655.36}));
    EXPECT_EQ(record.at("pixels"), 320 * 240);
    const Json plan = Json::parse(readAll(folder.path() / "out" / "plan.json"));
    EXPECT_EQ(plan.at("failures").size(), 1U);
    EXPECT_EQ(plan.at("cameras")[0].at("sensitivity_source").at("kind"), "maker");
}

TEST(FlightRun, aFileSizeLimitAndAReadOnlyFolderAreClearErrors) {
    const TemporaryFolder folder;
    renderFlight(folder.path(), 1);
    const std::string limited = "cd '" + folder.path().string() +
                                "' && ulimit -f 100; '" RADIOMETRY_COMMAND
                                "' correct flight/images -o limited --targets none"
                                " > stdout.txt 2> stderr.txt";
    const int status = std::system(("bash -c \"" + limited + "\"").c_str()); // NOLINT
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_THAT(readAll(folder.path() / "stderr.txt"), testing::HasSubstr("IMG_0000_1.tif: "));
    EXPECT_TRUE(outputsIn(folder.path() / "limited").empty());
    // Root may write anywhere but where no file can be.
    const Result readOnly = radiometry(folder, "correct flight/images -o /proc/out");
    EXPECT_EQ(readOnly.status, 1);
    EXPECT_THAT(readOnly.err, testing::HasSubstr("/proc/out: "));
}

TEST(Plan, damagedPlansAreRefusedWithFileAndReason) {
    const TemporaryFolder folder;
    renderFlight(folder.path(), 1);
    ASSERT_EQ(radiometry(folder, "plan flight/images -o plan.json --type camera").status, 0);
    const Json plan = Json::parse(readAll(folder.path() / "plan.json"));
    const std::vector<std::pair<std::function<void(Json&)>, std::string>> damages = {
        {[](Json& json) { json["format"] = "other"; }, "not a plan"},
        {[](Json& json) { json["schema_version"] = 2; }, "schema_version: not 1"},
        {[](Json& json) { json["images"][0]["output"] = "../a.tif"; }, "outside the output folder"},
        {[](Json& json) { json["images"][0]["output"] = "/a.tif"; }, "outside the output folder"},
        {[](Json& json) { json["images"][0]["camera"] = "12"; }, "not listed"},
        {[](Json& json) { json["images"][0]["output"] = "./IMG_0000_2.tif"; }, "same output"},
        {[](Json& json) { json["cameras"][0]["id"] = "12x"; }, "identifier"},
        {[](Json& json) { json["cameras"][0]["sensitivity"] = {0.0}; }, "above 0"},
        {[](Json& json) { json["cameras"][1]["id"] = json["cameras"][0]["id"]; }, "twice"},
        {[](Json& json) { json["cameras"][0]["correction_type"] = "all"; }, "correction_type"},
        {[](Json& json) { json.erase("options"); }, "options"},
    };
    for (const auto& [damage, reason] : damages) {
        Json damaged = plan;
        damage(damaged);
        std::ofstream(folder.path() / "damaged.json") << damaged;
        const Result result = radiometry(folder, "correct --plan damaged.json -o out");
        EXPECT_EQ(result.status, 1) << reason;
        EXPECT_THAT(result.err, testing::HasSubstr("damaged.json: "));
        EXPECT_THAT(result.err, testing::HasSubstr(reason));
    }
    std::ofstream(folder.path() / "damaged.json") << plan.dump().substr(0, 500);
    EXPECT_EQ(radiometry(folder, "correct --plan damaged.json -o out").status, 1);
    EXPECT_EQ(radiometry(folder, "correct --plan plan.json --part=3/2 -o out").status, 1);
    EXPECT_EQ(radiometry(folder, "correct flight/images --part=1/2 -o out").status, 1);
}

} // namespace
} // namespace tessik::app
