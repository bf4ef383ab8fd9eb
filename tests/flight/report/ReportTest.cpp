#include "flight/report/Report.h"

#include "flight/report/Curves.h"
#include "platform/image/Raster.h"
#include "radiometry/core/Types.h"
#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <regex>
#include <tuple>
#include <utility>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using test::messageOf;
using test::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

Json plan(std::size_t images) {
    Json plan = Json::parse(R"({"format": "radiometry plan", "schema_version": 1,
        "library_version": "0.1.0",
        "options": {"type": "auto", "sunlight": "auto", "targets": "auto", "utc_offset_hours": null,
                    "calibration_from": [], "sensor_mount_deg": null, "sequoia_calibration": null},
        "center": null,
        "cameras": [{"id": "7", "name": "Camera", "make": "", "model": "", "width": 4, "height": 3,
                     "bands": [{"name": "Blue", "wavelength_nm": 475.0, "fwhm_nm": 20.0}],
                     "images": 1, "correction_type": "camera", "missing": {}, "unit": null,
                     "clips_at": null, "sensitivity": null, "sensitivity_source": null}],
        "sunlight": [], "sunlight_failure": null, "targets": [], "failures": [], "warnings": [],
        "images": []})");
    for (std::size_t i = 0; i < images; ++i) {
        const std::string name = std::to_string(i) + ".tif";
        plan["images"].push_back({{"path", "in/" + name}, {"output", name}, {"camera", "7"}});
    }
    return plan;
}

Json record(std::size_t image, double irradiance) {
    return {{"file", "in/" + std::to_string(image) + ".tif"},
            {"status", "done"},
            {"capture_time_unix", 1.6e9 + static_cast<double>(image)},
            {"latitude_deg", 46.5 + 1e-5 * static_cast<double>(image)},
            {"longitude_deg", 6.6},
            {"sun_irradiance", {irradiance}},
            {"masked_pixels", 3},
            {"pixels", 12}};
}

void write(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

/// The page of what is in the folder.
std::string pageOf(const TemporaryFolder& folder) {
    writeReport(folder.path(), folder.path() / "report.html");
    std::ifstream file(folder.path() / "report.html", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The data that a browser would find in a page.
Json dataIn(const std::string& page) {
    const std::string open = "<script type=\"application/json\" id=\"data\">";
    const auto from = page.find(open) + open.size();
    return Json::parse(page.substr(from, page.find("</script>", from) - from));
}

TEST(Report, loadsNothingFromElsewhere) {
    const TemporaryFolder folder;
    write(folder.path() / "plan.json", plan(1).dump());
    const std::string page = pageOf(folder);
    // What a browser would load: attributes, style sheets, scripted requests.
    const std::regex reference(R"((src|href|action)\s*=\s*["']?\s*(https?:)?//)");
    EXPECT_FALSE(std::regex_search(page, reference));
    for (const char* loader : {"@import", "url(", "fetch(", "XMLHttpRequest", "import("}) {
        EXPECT_THAT(page, Not(HasSubstr(loader)));
    }
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, HasSubstr("Released under the MIT License"));
    EXPECT_THAT(page, Not(HasSubstr("{{")));
}

TEST(Report, hostileNamesStayTextAndReadBack) { // end a script, open a comment, break an attribute
    const TemporaryFolder folder;
    const std::string name = "in/</script><!--<b a=\"&'>.tif";
    Json planned = plan(0);
    planned["failures"] = {{{"path", name}, {"reason", "</script>{{style}}"}}};
    write(folder.path() / "plan.json", planned.dump());
    Json line = record(0, 1.0);
    line["file"] = "stranger <";
    write(folder.path() / "corrections.jsonl", line.dump() + "\n");
    const Json data = dataIn(pageOf(folder));
    EXPECT_EQ(data["failures"][0]["paths"][0], name);
    EXPECT_EQ(data["failures"][0]["text"], "</script>{{style}}");
    EXPECT_EQ(data["totals"]["failed"], 1);
    EXPECT_EQ(data["stray_records"], 1);
}

TEST(Report, lastRecordOfAnImageCountsAndDamagedOnesAreTold) {
    const TemporaryFolder folder;
    write(folder.path() / "plan.json", plan(3).dump());
    Json failed = record(0, 1.0);
    failed["status"] = "failed";
    failed["reason"] = "no such file";
    write(folder.path() / "corrections.jsonl",
          failed.dump() + "\n" + record(0, 2.0).dump() + "\n" + record(1, 3.0).dump() + "\n" +
              record(2, 4.0).dump().substr(0, 30));
    const Json data = dataIn(pageOf(folder));
    EXPECT_EQ(data["totals"], (Json{{"done", 2}, {"kept", 0}, {"failed", 0}, {"not_reached", 1}}));
    EXPECT_EQ(data["damaged_records"], 1);
    EXPECT_THAT(data["light"][0]["raw"]["y"], ElementsAre(2.0, 3.0));
    EXPECT_THAT(data["light"][0]["raw"]["x"], ElementsAre(0.0, 1.0));
    EXPECT_EQ(data["duration_s"], 1.0);
    EXPECT_EQ(data["cameras"][0]["masked_share"], 0.25);
    // 1e-5 degrees of latitude at 46.5 degrees, on the WGS-84 ellipsoid: 1.1116 m.
    EXPECT_NEAR(data["light"][0]["map"]["y"][1].get<double>() -
                    data["light"][0]["map"]["y"][0].get<double>(),
                1.1,
                0.11);
}

TEST(Report, longFlightsAreThinnedButKeepTheirPeaks) {
    const TemporaryFolder folder;
    constexpr std::size_t kImages = 5000;
    write(folder.path() / "plan.json", plan(kImages).dump());
    std::ofstream records(folder.path() / "corrections.jsonl");
    for (std::size_t i = 0; i < kImages; ++i) {
        records << record(i, i == 1234 ? 9.0 : i == 4321 ? 0.1 : 1.0).dump() << "\n";
    }
    records.close();
    const Json raw = dataIn(pageOf(folder))["light"][0]["raw"];
    EXPECT_EQ(raw["points"], kImages);
    EXPECT_LE(raw["y"].size(), 2000U);
    const auto hasPoint = [&](double x, double y) {
        for (std::size_t i = 0; i < raw["x"].size(); ++i) {
            if (raw["x"][i] == x && raw["y"][i] == y) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(hasPoint(0, 1.0) && hasPoint(1234, 9.0) && hasPoint(4321, 0.1) &&
                hasPoint(4999, 1.0));
}

TEST(Report, extremesAreKeptAroundAbsentValues) {
    const double none = std::nan("");
    EXPECT_THAT(keepExtremes({1, 2, 3}, 4), ElementsAre(0, 1, 2));
    EXPECT_THAT(keepExtremes({1, none, 5, none, -7, 2, 1}, 4), ElementsAre(0, 2, 4, 6));
    EXPECT_EQ(keepExtremes({none, none, none, none, none, none}, 4).back(), 5U);
}

TEST(Report, whatIsMissingIsLeftOut) {
    const TemporaryFolder folder;
    write(folder.path() / "plan.json", plan(2).dump());
    const Json data = dataIn(pageOf(folder)); // no record at all
    EXPECT_EQ(data["totals"]["not_reached"], 2);
    EXPECT_TRUE(data["start_unix"].is_null() && data["area_m2"].is_null());
    EXPECT_EQ(data["light"][0]["map"]["points"], 0);
    for (const char* list :
         {"targets", "quick_looks", "sunlight", "exposure_ms", "sensor_tilt_deg", "warnings"}) {
        EXPECT_TRUE(data[list].empty()) << list;
    }
}

TEST(Report, picturesOfOneBandShareOneScale) {
    const TemporaryFolder folder;
    Json planned = plan(2);
    std::string records;
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string name = std::to_string(i) + ".tif";
        const auto level = static_cast<float>(i + 1);
        planned["images"][i]["path"] = folder.file("raw" + name);
        Json line = record(i, 1.0);
        line["file"] = folder.file("raw" + name);
        records += line.dump() + "\n";
        image::writeFloatRaster(folder.file("raw" + name), {BandMatrix::Constant(3, 4, level)});
        BandMatrix corrected = test::ramp(3, 4);
        corrected(0, 0) = radiometry::kNoData;
        image::writeFloatRaster(folder.file(name), {corrected});
    }
    write(folder.path() / "plan.json", planned.dump());
    write(folder.path() / "corrections.jsonl", records);
    const Json look = dataIn(pageOf(folder))["quick_looks"][0];
    EXPECT_EQ(look["label"], "Blue");
    EXPECT_EQ(look["tiles"][0]["file"], folder.file("raw0.tif"));
    EXPECT_THAT(look["before_scale"], ElementsAre(1.0, 2.0));
    EXPECT_THAT(look["after_scale"], ElementsAre(2.0, 12.0)); // the masked pixel is no value
    EXPECT_NE(look["tiles"][0]["before"], look["tiles"][1]["before"]);
    EXPECT_EQ(look["tiles"][0]["after"], look["tiles"][1]["after"]);
}

TEST(Report, aColourCameraThatNamesNoBandsShowsThemAll) {
    const TemporaryFolder folder;
    Json planned = plan(1);
    planned["cameras"][0]["bands"] = Json::array();
    planned["images"][0]["path"] = folder.file("raw.tif");
    Json line = record(0, 1.0);
    line["file"] = folder.file("raw.tif");
    line["sun_irradiance"] = nullptr;
    line["pixels"] = 36; // three bands of twelve
    const BandImage bands(3, test::ramp(3, 4));
    image::writeFloatRaster(folder.file("raw.tif"), bands);
    image::writeFloatRaster(folder.file("0.tif"), bands);
    write(folder.path() / "plan.json", planned.dump());
    write(folder.path() / "corrections.jsonl", line.dump());
    const Json data = dataIn(pageOf(folder));
    ASSERT_EQ(data["quick_looks"].size(), 3U);
    EXPECT_EQ(data["quick_looks"][2]["label"], "Band 3");
    EXPECT_EQ(data["cameras"][0]["bands"][2]["name"], "Band 3");
    EXPECT_EQ(data["light"].size(), 1U);
    EXPECT_EQ(data["light"][0]["label"], "Camera");
}

Json uncertaintyOf(const std::string& band, double systematic, double random) {
    return {{"band", band},
            {"systematic", systematic},
            {"random", random},
            {"terms",
             {{{"name", "panel"}, {"kind", "systematic"}, {"value", systematic}},
              {{"name", "jitter"}, {"kind", "random"}, {"value", random}}}},
            {"not_included", {"Views differ."}}};
}

Json witnessOf(const std::string& band, double wavelengthNm, double time) {
    return {{"path", "in/rgb.tif"},
            {"time_unix", time},
            {"camera", "8"},
            {"camera_name", ""},
            {"band", band},
            {"wavelength_nm", wavelengthNm},
            {"sun_elevation_deg", 50.0},
            {"clear_sky", nullptr},
            {"sensor", 120.0},
            {"panel", wavelengthNm / 1000.0},
            {"is_absolute", false},
            {"sensor_ratio", nullptr},
            {"panel_ratio", nullptr},
            {"panel_to_sensor", nullptr},
            {"verdict", ""}};
}

Json rigOf(const std::vector<std::string>& cameras, const Json& mount) {
    return {{"cameras", cameras},
            {"state", "clear"},
            {"reason", "The readings hardly vary."},
            {"correction_type", "irradiance"},
            {"type_reason", ""},
            {"jitter", {{"raw", 0.02}, {"steady", nullptr}}},
            {"mount_deg", mount},
            {"choice", "raw"}};
}

/// A near-infrared camera, and one whose three bands are from red to blue.
Json planOfUnorderedBands() {
    Json planned = plan(1);
    Json& cameras = planned["cameras"];
    cameras[0]["bands"] = {{{"name", "NIR"}, {"wavelength_nm", 840.0}, {"fwhm_nm", 40.0}}};
    cameras.push_back(cameras[0]);
    cameras[0]["uncertainty"] = {uncertaintyOf("NIR", 0.06, 0.08)};
    cameras[1]["id"] = "8";
    cameras[1]["name"] = "Colours";
    cameras[1]["bands"] = Json::array();
    for (const auto& [name, nm] : {std::pair("Red", 650.0), {"Green", 560.0}, {"Blue", 475.0}}) {
        cameras[1]["bands"].push_back({{"name", name}, {"wavelength_nm", nm}, {"fwhm_nm", 20.0}});
        cameras[1]["uncertainty"].push_back(uncertaintyOf(name, 0.03, 0.04));
        planned["witnesses"].push_back(witnessOf(name, nm, 200.0));
    }
    planned["witnesses"].push_back(witnessOf("Blue", 475.0, 100.0));
    planned["light"] = {{"asked", "auto"},
                        {"rigs", {rigOf({"7"}, nullptr), rigOf({"7", "8"}, {1.5, -2.0})}}};
    cameras[1]["sensitivity"] = {1.0, 2.0, 3.0};
    cameras[1]["sensitivity_source"] = {{"kind", "file"}, {"text", ""}};
    planned["images"].push_back({{"path", "in/rgb.tif"}, {"output", "rgb.tif"}, {"camera", "8"}});
    return planned;
}

std::vector<std::string> textsOf(const Json& list, const char* key) {
    std::vector<std::string> texts;
    for (const Json& item : list) {
        texts.push_back(item[key]);
    }
    return texts;
}

TEST(Report, bandsAreInOrderOfWavelength) {
    const TemporaryFolder folder;
    write(folder.path() / "plan.json", planOfUnorderedBands().dump());
    Json colours = record(0, 1.0);
    colours["file"] = "in/rgb.tif";
    colours["sun_irradiance"] = {3.0, 2.0, 1.0};
    colours["exposure_s"] = 0.002;
    Json infrared = record(0, 4.0);
    infrared["exposure_s"] = 0.001;
    write(folder.path() / "corrections.jsonl", infrared.dump() + "\n" + colours.dump() + "\n");
    const Json data = dataIn(pageOf(folder));
    EXPECT_THAT(textsOf(data["cameras"], "name"), ElementsAre("Colours", "Camera"));
    EXPECT_THAT(textsOf(data["cameras"][0]["bands"], "name"), ElementsAre("Blue", "Green", "Red"));
    EXPECT_THAT(data["cameras"][0]["sensitivity"], ElementsAre(3.0, 2.0, 1.0));
    EXPECT_THAT(textsOf(data["exposure_ms"], "label"), ElementsAre("Colours", "NIR"));
    EXPECT_THAT(textsOf(data["light"], "label"), ElementsAre("Blue", "Green", "Red", "NIR"));
    EXPECT_EQ(data["light"][0]["raw"]["y"][0], 1.0); // each label keeps its own values
    EXPECT_THAT(textsOf(data["uncertainty"], "band"), ElementsAre("Blue", "Green", "Red", "NIR"));
    EXPECT_DOUBLE_EQ(data["uncertainty"][0]["combined"], 0.05);
    EXPECT_DOUBLE_EQ(data["uncertainty"][3]["combined"], 0.1);
    EXPECT_THAT(textsOf(data["witnesses"], "band"), ElementsAre("Blue", "Blue", "Green", "Red"));
    EXPECT_EQ(data["witnesses"][0]["time_unix"], 100.0);
    EXPECT_EQ(data["witnesses"][0]["panel"], 0.475);
    EXPECT_EQ(data["witnesses"][0]["camera"], "Colours"); // by its identifier
    EXPECT_EQ(data["witnesses"][0]["is_absolute"], false);
    EXPECT_THAT(data["sky"][0]["cameras"], ElementsAre("Camera"));
    EXPECT_TRUE(data["sky"][1]["cameras"].empty()); // all that there are
    EXPECT_TRUE(data["sky"][0]["mount_deg"].is_null());
    EXPECT_THAT(data["sky"][1]["mount_deg"], ElementsAre(1.5, -2.0));
}

TEST(Report, overlapsThatCannotBeReadAreLeftOutWithANote) {
    const std::vector<std::tuple<const char*, bool, std::string>> cases = {
        {nullptr, false, ""},
        {"{\"pairs\": 3, \"raw\"", false, "overlaps.json: not JSON"},
        {"[1, 2]", false, "overlaps.json: not a file of overlaps"},
        {R"({"pairs": 3, "raw": 0.08, "corrected": null, "bands": [
             {"camera": "7", "band": "NIR", "wavelength_nm": 840, "pairs": 1, "all": "unknown"},
             {"camera": "8", "band": "Blue", "wavelength_nm": 475, "pairs": 2,
              "all": {"raw": 0.08, "corrected": 0.01}}]})",
         true,
         ""}};
    for (const auto& [text, isShown, note] : cases) {
        const TemporaryFolder folder;
        write(folder.path() / "plan.json", planOfUnorderedBands().dump());
        if (text != nullptr) {
            write(folder.path() / "overlaps.json", text);
        }
        const Json data = dataIn(pageOf(folder));
        EXPECT_EQ(data["overlaps"].is_object(), isShown) << data["overlaps"];
        EXPECT_THAT(data["overlaps_failure"].get<std::string>(), HasSubstr(note));
        EXPECT_EQ(data["overlaps_failure"].get<std::string>().empty(), note.empty());
        if (isShown) {
            EXPECT_TRUE(data["overlaps"]["corrected"].is_null());
            EXPECT_THAT(textsOf(data["overlaps"]["bands"], "band"), ElementsAre("Blue", "NIR"));
            EXPECT_EQ(data["overlaps"]["bands"][0]["all"]["corrected"], 0.01);
            EXPECT_TRUE(data["overlaps"]["bands"][1]["all"]["raw"].is_null());
        }
    }
}

TEST(Report, refusesWhatIsNotAPlanAndNamesIt) {
    Json newer = plan(1);
    newer["schema_version"] = 2;
    Json stranger = plan(1);
    stranger["images"][0]["camera"] = "8";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "not JSON"},
        {"{\"format\": 3}", "format: not a text"},
        {newer.dump(), "schema_version: not 1"},
        {stranger.dump(), "images[0].camera: a camera that is not listed"}};
    for (const auto& [text, reason] : cases) {
        const TemporaryFolder folder;
        write(folder.path() / "plan.json", text);
        const std::string message = messageOf<std::runtime_error>(
            [&] { writeReport(folder.path(), folder.file("r.html")); });
        EXPECT_THAT(message, HasSubstr(folder.file("plan.json") + ": "));
        EXPECT_THAT(message, HasSubstr(reason));
        EXPECT_FALSE(fs::exists(folder.file("r.html")));
    }
    const TemporaryFolder empty;
    EXPECT_THAT(messageOf<std::runtime_error>([&] { pageOf(empty); }),
                HasSubstr(empty.file("plan.json") + ": cannot be read"));
}

} // namespace
} // namespace tessik::flight::report
